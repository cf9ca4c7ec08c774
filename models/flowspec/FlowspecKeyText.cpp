// The text form of rule keys: printing the canonical text and parsing it (and hand-written
// rules) back. The grammar is described with FlowspecKey.
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>

#include "models/flowspec/FlowspecKey.h"
#include "models/flowspec/MatchComponent.h"

namespace Flowspec {

namespace {

enum class Kind { numeric, bitmask, other };

Kind kindOf(MatchCompType type) {
  if (isBitMaskType(type)) {
    return Kind::bitmask;
  }
  return isNumericalRangeType(type) ? Kind::numeric : Kind::other;
}

char const* const kNumericOps[] = {nullptr, "=", ">", ">=", "<", "<=", "!=", nullptr};

char const* flagName(MatchCompType type, unsigned bit) {
  static char const* const kTcp[] = {"fin", "syn", "rst", "psh", "ack", "urg", "ece", "cwr", "ns"};
  static char const* const kFrag[] = {"df", "isf", "ff", "lf"};
  if (type == MatchCompType::tcpFlags) {
    return bit < 9 ? kTcp[bit] : nullptr;
  }
  return bit < 4 ? kFrag[bit] : nullptr;
}

// The names of the component types, by type, made once: keys are written and parsed by the
// hundred thousand (class-map names).
std::string const& typeName(MatchCompType type) {
  static auto const names = [] {
    std::array<std::string, FlowspecKey::kMaxType + 1> all;
    for (std::uint32_t t = 0; t <= FlowspecKey::kMaxType; ++t) {
      all[t] = compTypeName(static_cast<MatchCompType>(t));
    }
    return all;
  }();
  return names[static_cast<std::uint32_t>(type) & FlowspecKey::kMaxType];
}

// Keys are printed by the hundred thousand (class-map names, statuses, shows): every piece is
// appended to one buffer, with no temporary strings.
void appendDecimal(std::string& out, std::uint32_t value) {
  char digits[10];
  auto const [end, error] = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, end);
}

void appendHex(std::string& out, std::uint32_t value) {
  char digits[8];
  auto const [end, error] = std::to_chars(digits, digits + sizeof digits, value, 16);
  out += "0x";
  out.append(digits, end);
}

void appendFlags(std::string& out, MatchCompType type, std::uint32_t value) {
  std::size_t const start = out.size();
  for (unsigned bit = 0; bit < 32 && value >> bit; ++bit) {
    if (!((value >> bit) & 1)) {
      continue;
    }
    char const* name = flagName(type, bit);
    if (!name) {
      out.resize(start);
      appendHex(out, value);
      return;
    }
    if (out.size() > start) {
      out += '+';
    }
    out += name;
  }
  if (out.size() == start) {
    appendHex(out, value);
  }
}

void appendPair(std::string& out, FlowspecKey::OpVal const& pair, bool lastOfRun) {
  Kind const kind = kindOf(pair.type);
  std::uint8_t const logical = pair.op & (kind == Kind::numeric ? 0x07 : 0x03);
  std::uint8_t const canonical = canonicalOpByte(
      static_cast<std::uint8_t>(logical | (pair.op & OpBits::kAnd)), pair.value, lastOfRun);
  if (pair.op == canonical && kind == Kind::numeric && kNumericOps[logical]) {
    out += kNumericOps[logical];
    appendDecimal(out, pair.value);
    return;
  }
  if (pair.op == canonical && kind == Kind::bitmask) {
    if (pair.op & OpBits::kNot) {
      out += '!';
    }
    if (pair.op & OpBits::kMatch) {
      out += '=';
    }
    appendFlags(out, pair.type, pair.value);
    return;
  }
  char op[8];
  std::snprintf(op, sizeof op, "#0x%02x:", pair.op);
  out += op;
  if (kind == Kind::bitmask) {
    appendFlags(out, pair.type, pair.value);
  } else {
    appendDecimal(out, pair.value);
  }
}

}  // namespace

std::string_view FlowspecKey::printed() const {
  // A buffer that keeps its capacity: the callers copy the text out at its exact size, or only
  // compare it.
  Body const& body = this->body();
  thread_local std::string out;
  out.clear();
  out += af() == Nwk::AddressFamily::ipv6 ? "ipv6" : "ipv4";
  if (outOfOrderComponent()) {
    out += " raw";
  }
  if (!body.destinationPrefix.isEmpty()) {
    out += " dst ";
    body.destinationPrefix.appendTo(out);
  }
  if (!body.sourcePrefix.isEmpty()) {
    out += " src ";
    body.sourcePrefix.appendTo(out);
  }
  for (std::size_t i = 0; i < body.opVals.size(); ++i) {
    bool const first = i == 0 || body.opVals[i - 1].type != body.opVals[i].type;
    bool const last = i + 1 == body.opVals.size() || body.opVals[i + 1].type != body.opVals[i].type;
    if (first) {
      // Prefix types have a prefix syntax of their own; as pairs they go by number.
      MatchCompType const type = body.opVals[i].type;
      out += ' ';
      if (isPrefixType(type)) {
        out += "type";
        appendDecimal(out, static_cast<std::uint32_t>(type));
      } else {
        out += typeName(type);
      }
      out += ' ';
    }
    bool const andBit = body.opVals[i].op & OpBits::kAnd;
    out += andBit ? "&" : first ? "" : "|";
    appendPair(out, body.opVals[i], last);
  }
  return out;
}

std::string FlowspecKey::stringValue() const {
  Body const& body = this->body();
  return body.text.empty() ? std::string(printed()) : body.text.str();
}

bool FlowspecKey::hasStringValue(std::string_view text) const {
  Body const& body = this->body();
  return (body.text.empty() ? printed() : body.text.view()) == text;
}

namespace {

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::optional<FlowspecKey> parse(std::string* error) {
    try {
      return parseKey();
    } catch (Cog::Error const& e) {  // parse errors, and the limits of keys
      if (error) {
        *error = e.what();
      }
      return std::nullopt;
    }
  }

 private:
  [[noreturn]] void fail(std::size_t pos, std::string const& what) {
    throw KeyParseError("position " + std::to_string(pos) + ": " + what);
  }

  void skipBlanks() {
    while (pos_ < text_.size() && text_[pos_] == ' ') {
      ++pos_;
    }
  }
  bool atEnd() const { return pos_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[pos_]; }
  bool consume(std::string_view token) {
    if (text_.substr(pos_, token.size()) == token) {
      pos_ += token.size();
      return true;
    }
    return false;
  }
  std::string_view word() {
    std::size_t const start = pos_;
    while (!atEnd() && text_[pos_] != ' ') {
      ++pos_;
    }
    return text_.substr(start, pos_ - start);
  }

  FlowspecKey parseKey() {
    skipBlanks();
    std::size_t const familyPos = pos_;
    std::string_view const family = word();
    if (family != "ipv4" && family != "ipv6") {
      fail(familyPos, "expected ipv4 or ipv6");
    }
    FlowspecKey key(family == "ipv4" ? Nwk::AddressFamily::ipv4 : Nwk::AddressFamily::ipv6);
    skipBlanks();
    std::size_t const rawPos = pos_;
    bool const raw = word() == "raw";
    if (!raw) {
      pos_ = rawPos;
    }
    int lastType = -1;
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      std::size_t const namePos = pos_;
      std::string_view const name = word();
      MatchCompType type;
      if (name == "dst" || name == "src") {
        type = name == "dst" ? MatchCompType::destinationPrefix : MatchCompType::sourcePrefix;
        parsePrefix(key, name == "dst", namePos);
      } else {
        type = typeOf(name, namePos);
        parseList(key, type, name);
      }
      if (!raw && static_cast<int>(type) <= lastType) {
        fail(namePos, "'" + std::string(name) +
                          "' repeats a component or follows a later one (each component once, "
                          "in ascending type)");
      }
      lastType = static_cast<int>(type);
    }
    if (raw && !key.outOfOrderComponent()) {
      fail(rawPos, "'raw' marks a key whose components are out of order, and these are not");
    }
    return key;
  }

  void parsePrefix(FlowspecKey& key, bool destination, std::size_t namePos) {
    skipBlanks();
    std::size_t const prefixPos = pos_;
    auto const prefix = Nwk::IpGenPrefix::parse(word());
    if (!prefix) {
      fail(prefixPos, "expected a prefix after '" + std::string(destination ? "dst" : "src") + "'");
    }
    if (prefix->af() != key.af()) {
      fail(prefixPos, "the prefix is not of the key's address family");
    }
    Nwk::IpGenPrefix const& current = destination ? key.destinationPrefix() : key.sourcePrefix();
    if (!current.isEmpty()) {
      fail(namePos,
           std::string("a second ") + (destination ? "destination" : "source") + " prefix");
    }
    destination ? key.destinationPrefixIs(*prefix) : key.sourcePrefixIs(*prefix);
  }

  // A component name; "type" N only for the numbers without a name (0, 14, 15, and 1 and 2 as
  // pairs), without leading zeros, so that each type has one spelling.
  MatchCompType typeOf(std::string_view name, std::size_t namePos) {
    for (std::uint32_t t = 3; t <= 13; ++t) {
      if (typeName(static_cast<MatchCompType>(t)) == name) {
        return static_cast<MatchCompType>(t);
      }
    }
    if (name.size() > 4 && name.substr(0, 4) == "type" && (name.size() == 5 || name[4] != '0')) {
      auto const number = decimal(name.substr(4));
      if (number && *number <= FlowspecKey::kMaxType) {
        auto const type = static_cast<MatchCompType>(*number);
        if (kindOf(type) != Kind::other) {
          fail(namePos,
               "type " + std::to_string(*number) + " is written '" + compTypeName(type) + "'");
        }
        return type;
      }
    }
    if (name.empty()) {
      fail(namePos, "expected a component");
    }
    fail(namePos, "unknown component '" + std::string(name) + "'");
  }

  struct Parsed {
    std::uint8_t op;
    std::uint32_t value;
    bool raw;
    std::size_t pos;
  };

  // Each pair goes into the key once the separator after it shows whether it ends the list,
  // which its canonical operator byte depends on.
  void parseList(FlowspecKey& key, MatchCompType type, std::string_view name) {
    skipBlanks();
    bool andBit = consume("&");
    for (;;) {
      if (atEnd() || peek() == ' ') {
        fail(pos_, "expected an operator after '" + std::string(name) + "'");
      }
      Parsed const pair = parsePair(type, andBit);
      bool const more = consume("&") || consume("|");
      bool const nextAndBit = more && text_[pos_ - 1] == '&';
      std::uint8_t const op = pair.raw ? pair.op : canonicalOpByte(pair.op, pair.value, !more);
      if (key.opValCount() > MatchOpValIndex::max) {
        fail(pair.pos, "more than " + std::to_string(MatchOpValIndex::max + 1) + " pairs");
      }
      key.opValAppend(type, op, pair.value);
      if (!more) {
        break;
      }
      andBit = nextAndBit;
    }
    if (!atEnd() && peek() != ' ') {
      fail(pos_, "expected '&', '|' or a blank");
    }
  }

  Parsed parsePair(MatchCompType type, bool andBit) {
    std::uint8_t const andOp = andBit ? OpBits::kAnd : 0;
    std::size_t const pairPos = pos_;
    if (consume("#0x")) {
      std::uint32_t op = 0;
      std::size_t digits = 0;
      while (digits < 2 && std::isxdigit(static_cast<unsigned char>(peek()))) {
        op = op * 16 + static_cast<std::uint32_t>(std::isdigit(static_cast<unsigned char>(peek()))
                                                      ? peek() - '0'
                                                      : std::tolower(peek()) - 'a' + 10);
        ++pos_;
        ++digits;
      }
      if (digits == 0 || !consume(":")) {
        fail(pairPos, "expected '#0xHH:' with the operator byte in hexadecimal");
      }
      if (((op & OpBits::kAnd) != 0) != andBit) {
        fail(pairPos, "the AND bit of the operator disagrees with the separator");
      }
      return Parsed{static_cast<std::uint8_t>(op), parseValue(type), true, pairPos};
    }
    if (kindOf(type) == Kind::bitmask) {
      std::uint8_t op = andOp;
      op |= consume("!") ? OpBits::kNot : 0;
      op |= consume("=") ? OpBits::kMatch : 0;
      return Parsed{op, parseValue(type), false, pairPos};
    }
    if (kindOf(type) == Kind::other) {
      fail(pairPos, "a component without a name takes raw pairs '#0xHH:value'");
    }
    static constexpr std::pair<char const*, std::uint8_t> kOps[] = {{"<=", 5}, {">=", 3}, {"!=", 6},
                                                                    {"=", 1},  {"<", 4},  {">", 2}};
    for (auto const& [token, bits] : kOps) {
      if (consume(token)) {
        return Parsed{static_cast<std::uint8_t>(andOp | bits), parseValue(type), false, pairPos};
      }
    }
    fail(pairPos, "expected an operator (=, <, >, <=, >=, !=)");
  }

  std::uint32_t parseValue(MatchCompType type) {
    std::size_t const valuePos = pos_;
    std::size_t end = pos_;
    while (end < text_.size() && text_[end] != ' ' && text_[end] != '&' && text_[end] != '|') {
      ++end;
    }
    std::string_view const token = text_.substr(pos_, end - pos_);
    pos_ = end;
    if (token.empty()) {
      fail(valuePos, "expected a value");
    }
    // Values are written as the printer writes them: bitmasks by flag names or in hexadecimal,
    // everything else in decimal (and protocols also by name).
    std::optional<std::uint64_t> value;
    if (kindOf(type) == Kind::bitmask) {
      value = token.size() > 2 && token.substr(0, 2) == "0x" ? hexadecimal(token.substr(2))
                                                             : flags(type, token);
    } else {
      value = decimal(token);
      if (!value && type == MatchCompType::ipProtocol) {
        value = protocol(token);
      }
    }
    if (!value) {
      fail(valuePos, "expected a value, not '" + std::string(token) + "'");
    }
    if (*value > FlowspecKey::kMaxValue) {
      fail(valuePos, "value above 1048575");
    }
    return static_cast<std::uint32_t>(*value);
  }

  // Up to 8 digits: enough for every value, and no overflow before the bound is checked.
  static std::optional<std::uint64_t> decimal(std::string_view digits) {
    if (digits.empty() || digits.size() > 8) {
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (char c : digits) {
      if (!std::isdigit(static_cast<unsigned char>(c))) {
        return std::nullopt;
      }
      value = value * 10 + static_cast<std::uint64_t>(c - '0');
    }
    return value;
  }

  static std::optional<std::uint64_t> hexadecimal(std::string_view digits) {
    if (digits.empty() || digits.size() > 8) {
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (char c : digits) {
      if (!std::isxdigit(static_cast<unsigned char>(c))) {
        return std::nullopt;
      }
      int const digit =
          std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : std::tolower(c) - 'a' + 10;
      value = value * 16 + static_cast<std::uint64_t>(digit);
    }
    return value;
  }

  static std::optional<std::uint64_t> flags(MatchCompType type, std::string_view names) {
    std::uint64_t value = 0;
    while (!names.empty()) {
      std::size_t const plus = names.find('+');
      std::string_view const name = names.substr(0, plus);
      bool found = false;
      for (unsigned bit = 0; flagName(type, bit); ++bit) {
        if (name == flagName(type, bit)) {
          value |= 1u << bit;
          found = true;
        }
      }
      if (!found) {
        return std::nullopt;
      }
      names = plus == std::string_view::npos ? std::string_view() : names.substr(plus + 1);
      if (plus != std::string_view::npos && names.empty()) {
        return std::nullopt;
      }
    }
    return value;
  }

  static std::optional<std::uint64_t> protocol(std::string_view name) {
    static constexpr std::pair<char const*, std::uint64_t> kProtocols[] = {
        {"icmp", 1}, {"tcp", 6}, {"udp", 17},    {"gre", 47},
        {"esp", 50}, {"ah", 51}, {"icmpv6", 58}, {"sctp", 132}};
    for (auto const& [protocolName, number] : kProtocols) {
      if (name == protocolName) {
        return number;
      }
    }
    return std::nullopt;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

}  // namespace

Cog::SharedString const& FlowspecKey::sharedStringValue() const {
  Body const& body = this->body();
  if (body.text.empty()) {
    body.text = printed();
  }
  return body.text;
}

void FlowspecKey::sharedStringValueIs(Cog::SharedString const& text) const {
  if (sharedStringValue() == text) {
    body().text = text;
  }
}

std::optional<FlowspecKey> FlowspecKey::parse(std::string_view text, std::string* error) {
  return Parser(text).parse(error);
}

void FlowspecKey::copyInStringValue(std::string_view text) {
  std::string error;
  auto key = parse(text, &error);
  if (!key) {
    throw KeyParseError(error);
  }
  *this = std::move(*key);
}

}  // namespace Flowspec
