#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Cog {

// An immutable string whose copies share one buffer: copying it counts a reference rather than
// allocating. A name that many records hold (a class-map's name is held by its configuration,
// the policy versions that list it, its status and the programming machinery) is made once and
// then only copied. The count is not atomic: like the records that hold it, a shared string
// belongs to the single thread that runs the system. Equal strings made apart compare equal by
// their text; copies of one compare equal without reading it.
class SharedString {
 public:
  SharedString() = default;
  SharedString(std::string_view text) : rep_(text.empty() ? nullptr : make(text)) {}
  SharedString(std::string const& text) : SharedString(std::string_view(text)) {}
  SharedString(char const* text) : SharedString(std::string_view(text)) {}
  SharedString(SharedString const& other) noexcept : rep_(other.rep_) {
    if (rep_) {
      ++rep_->refs;
    }
  }
  SharedString(SharedString&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  SharedString& operator=(SharedString other) noexcept {
    std::swap(rep_, other.rep_);
    return *this;
  }
  ~SharedString() {
    if (rep_ && --rep_->refs == 0) {
      ::operator delete(rep_);
    }
  }

  std::string_view view() const {
    return rep_ ? std::string_view(rep_->text, rep_->size) : std::string_view();
  }
  operator std::string_view() const { return view(); }
  std::string str() const { return std::string(view()); }
  char const* c_str() const { return rep_ ? rep_->text : ""; }
  std::size_t size() const { return rep_ ? rep_->size : 0; }
  bool empty() const { return rep_ == nullptr; }
  // The hash of the text, made with the string: names are looked up in hashed maps many times.
  std::size_t hash() const { return rep_ ? rep_->hash : std::hash<std::string_view>()({}); }

  friend bool operator==(SharedString const& a, SharedString const& b) {
    return a.rep_ == b.rep_ || a.view() == b.view();
  }
  // Against any text (a literal, a standard string or view) without making a shared string.
  template <class Text>
  requires std::is_convertible_v<Text const&, std::string_view>
  friend bool operator==(SharedString const& a, Text const& b) {
    return a.view() == std::string_view(b);
  }
  friend std::strong_ordering operator<=>(SharedString const& a, SharedString const& b) {
    return a.view() <=> b.view();
  }
  template <class Text>
  requires std::is_convertible_v<Text const&, std::string_view>
  friend std::strong_ordering operator<=>(SharedString const& a, Text const& b) {
    return a.view() <=> std::string_view(b);
  }
  friend std::ostream& operator<<(std::ostream& os, SharedString const& s) {
    return os << s.view();
  }

 private:
  struct Rep {
    std::uint32_t refs;
    std::uint32_t size;
    std::size_t hash;  // of the text, as std::hash<std::string_view> has it
    char text[1];      // size characters and a NUL
  };

  static Rep* make(std::string_view text) {
    auto* rep = static_cast<Rep*>(::operator new(offsetof(Rep, text) + text.size() + 1));
    rep->refs = 1;
    rep->size = static_cast<std::uint32_t>(text.size());
    rep->hash = std::hash<std::string_view>()(text);
    std::memcpy(rep->text, text.data(), text.size());
    rep->text[text.size()] = '\0';
    return rep;
  }

  Rep* rep_ = nullptr;
};

}  // namespace Cog

// Not noexcept on purpose: the standard hashed containers then keep each key's hash beside it,
// rather than reading it from the string's buffer for every entry they pass in a bucket.
template <>
struct std::hash<Cog::SharedString> {
  std::size_t operator()(Cog::SharedString const& s) const { return s.hash(); }
};
