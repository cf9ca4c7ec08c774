#include "platform/trace/Trace.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "platform/trace/RingBuffer.h"

namespace Trace {

namespace {

constexpr int kDefaultRingLevel = 5;

class StderrSink : public Sink {
 public:
  void write(Line const& line) override {
    std::fprintf(stderr, "%.*s/%d %.*s: %.*s\n", static_cast<int>(line.handle.size()),
                 line.handle.data(), line.level, static_cast<int>(line.function.size()),
                 line.function.data(), static_cast<int>(line.message.size()), line.message.data());
  }
};

struct Registry {
  std::vector<Handle*> handles;
  std::map<std::string, int, std::less<>> levels;  // from the environment, by handle name
  int defaultTextLevel = 0;
  std::shared_ptr<Sink> sink = std::make_shared<StderrSink>();

  Registry() { parseEnvironment(std::getenv("ORBFLOWSPEC_TRACE")); }

  void parseEnvironment(char const* text) {
    if (!text) {
      return;
    }
    std::string_view rest(text);
    while (!rest.empty()) {
      auto const comma = rest.find(',');
      std::string_view item = rest.substr(0, comma);
      rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
      auto const eq = item.find('=');
      if (eq == std::string_view::npos || eq + 1 >= item.size()) {
        continue;
      }
      int const level =
          std::clamp(std::atoi(std::string(item.substr(eq + 1)).c_str()), 0, kMaxLevel);
      std::string_view const name = item.substr(0, eq);
      if (name == "*") {
        defaultTextLevel = level;
      } else {
        levels[std::string(name)] = level;
      }
    }
  }

  int textLevelFor(std::string_view name) const {
    auto const it = levels.find(name);
    return it == levels.end() ? defaultTextLevel : it->second;
  }
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

void textSinkIs(std::shared_ptr<Sink> sink) { registry().sink = std::move(sink); }

std::shared_ptr<Sink> textSink() { return registry().sink; }

Handle::Handle(std::string_view name)
    : name_(name),
      id_(static_cast<std::uint16_t>(registry().handles.size())),
      textLevel_(registry().textLevelFor(name)),
      ringLevel_(kDefaultRingLevel),
      maxLevel_(0) {
  updateMaxLevel();
  registry().handles.push_back(this);
}

void Handle::textLevelIs(int level) {
  textLevel_ = std::clamp(level, -1, kMaxLevel);
  updateMaxLevel();
}

void Handle::ringLevelIs(int level) {
  ringLevel_ = std::clamp(level, -1, kMaxLevel);
  updateMaxLevel();
}

void Handle::emit(int level, std::string_view function, std::string_view message) const {
  if (level <= ringLevel_) {
    ringBuffer().append(id_, level, function, message);
  }
  if (level <= textLevel_ && registry().sink) {
    registry().sink->write(Line{name_, level, function, message});
  }
}

void Encoder::grow(std::size_t size) {
  constexpr std::size_t kInitialSize = 256;
  buffer_.resize(std::max({2 * buffer_.size(), size_ + size, kInitialSize}));
}

Encoder& Handle::scratchEncoder() {
  thread_local Encoder encoder;
  return encoder;
}

void Handle::recordEncoded(int level, std::string_view function, Formatter format,
                           std::string_view pieces) const {
  if (level <= ringLevel_) {
    ringBuffer().append(id_, level, function, format, pieces);
  }
}

Handle* Handle::find(std::string_view name) {
  for (Handle* handle : registry().handles) {
    if (handle->name() == name) {
      return handle;
    }
  }
  return nullptr;
}

void Handle::textLevelAllIs(int level) {
  registry().defaultTextLevel = level;
  registry().levels.clear();
  for (Handle* handle : registry().handles) {
    handle->textLevelIs(level);
  }
}

std::string_view shortFunctionName(std::string_view pretty) {
  // Drop the parameter list (the last top-level parenthesis group) and the return type.
  std::size_t end = pretty.size();
  int depth = 0;
  for (std::size_t i = pretty.size(); i-- > 0;) {
    if (pretty[i] == ')') {
      ++depth;
    } else if (pretty[i] == '(') {
      if (--depth == 0) {
        end = i;
        break;
      }
    }
  }
  std::string_view name = pretty.substr(0, end);
  depth = 0;
  for (std::size_t i = name.size(); i-- > 0;) {
    char const c = name[i];
    if (c == '>' || c == ')') {
      ++depth;
    } else if (c == '<' || c == '(') {
      --depth;
    } else if (c == ' ' && depth == 0) {
      return name.substr(i + 1);
    }
  }
  return name;
}

namespace detail {

void append(std::string& out, Hex h) {
  char text[24];
  std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(h.value));
  out.append(text);
}

void append(std::string& out, double d) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", d);
  // Prefer the shortest text that reads back to the same value.
  for (int precision = 6; precision < 17; ++precision) {
    char shorter[40];
    std::snprintf(shorter, sizeof shorter, "%.*g", precision, d);
    if (std::strtod(shorter, nullptr) == d) {
      out.append(shorter);
      return;
    }
  }
  out.append(text);
}

}  // namespace detail

}  // namespace Trace
