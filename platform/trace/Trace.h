#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/trace/Args.h"
#include "platform/trace/Format.h"

// Named, leveled trace handles. Every message that a handle lets through goes to the process's
// ring buffer (compact, always on) and to the text sink. Levels run from 0 (errors, always
// shown) to 9 (finest). A line names the emitting function and then carries the message,
// whose pieces are concatenated with no separators.
//
// The text levels per handle are read once at start from the environment variable
// ORBFLOWSPEC_TRACE, a comma-separated list of "Handle=level" with "*" for every handle,
// for example "FlowspecRuleSetSm=9,*=2". Without it only level 0 reaches the text sink.
namespace Trace {

constexpr int kMaxLevel = 9;

struct Line {
  std::string_view handle;
  int level;
  std::string_view function;
  std::string_view message;
};

// Where text lines go. The default sink writes "<handle>/<level> <function>: <message>" lines to
// standard error; tests install a CaptureSink.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual void write(Line const& line) = 0;
};

void textSinkIs(std::shared_ptr<Sink> sink);
std::shared_ptr<Sink> textSink();

class Handle {
 public:
  explicit Handle(std::string_view name);
  Handle(Handle const&) = delete;
  Handle& operator=(Handle const&) = delete;

  std::string const& name() const { return name_; }
  std::uint16_t id() const { return id_; }
  int textLevel() const { return textLevel_; }
  void textLevelIs(int level);
  int ringLevel() const { return ringLevel_; }
  void ringLevelIs(int level);

  // Whether a message of `level` goes anywhere; messages are formatted only when it does.
  bool enabled(int level) const { return level <= maxLevel_; }
  // Whether it goes to the text sink, which needs it formatted now.
  bool textEnabled(int level) const { return level <= textLevel_; }

  void emit(int level, std::string_view function, std::string_view message) const;
  // Into the ring only, as encoded pieces formatted when the ring is read.
  template <class... Pieces>
  void record(int level, std::string_view function, Pieces&&... pieces) const {
    Encoder& encoder = scratchEncoder();
    encoder.clear();
    encodePieces(encoder, pieces...);
    recordEncoded(level, function, formatterFor<Pieces...>(), encoder.bytes());
  }

  // Every handle that exists, for setting levels by name.
  static Handle* find(std::string_view name);
  // Sets the text level of every handle, present and future.
  static void textLevelAllIs(int level);

 private:
  static Encoder& scratchEncoder();
  void recordEncoded(int level, std::string_view function, Formatter format,
                     std::string_view pieces) const;
  void updateMaxLevel() { maxLevel_ = textLevel_ > ringLevel_ ? textLevel_ : ringLevel_; }

  std::string name_;
  std::uint16_t id_;
  int textLevel_;
  int ringLevel_;
  int maxLevel_;
};

// Reduces __PRETTY_FUNCTION__ to "Namespace::Class::function".
std::string_view shortFunctionName(std::string_view prettyFunction);

}  // namespace Trace

// Traces the concatenation of the pieces at `level` on `handle`, naming the calling function.
// A message only the ring takes is not formatted until the ring is read.
#define TRACE(handle, level, ...)                                             \
  do {                                                                        \
    if ((handle).enabled(level)) {                                            \
      static std::string_view const traceFunction_ =                          \
          ::Trace::shortFunctionName(__PRETTY_FUNCTION__);                    \
      if ((handle).textEnabled(level)) {                                      \
        (handle).emit((level), traceFunction_, ::Trace::concat(__VA_ARGS__)); \
      } else {                                                                \
        (handle).record((level), traceFunction_, __VA_ARGS__);                \
      }                                                                       \
    }                                                                         \
  } while (false)
