#include "models/flowspec/FlowspecKey.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Flowspec {

// Keys are map keys by the hundred thousand, in many maps each: a copy is one pointer.
static_assert(sizeof(FlowspecKey) == sizeof(void*));

FlowspecKey::Body const FlowspecKey::kEmpty{};

MatchOpValIndex::MatchOpValIndex(long value) {
  if (value < min || value > max) {
    throw Cog::RangeError(
        "MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed");
  }
  value_ = static_cast<std::uint16_t>(value);
}

MatchOpValIndex& MatchOpValIndex::operator++() {
  *this = MatchOpValIndex(long{value_} + 1);
  return *this;
}

MatchOpValIndex MatchOpValIndex::operator++(int) {
  MatchOpValIndex const before = *this;
  ++*this;
  return before;
}

std::string MatchOpValResult::toStrep() const {
  char text[80];
  std::snprintf(text, sizeof text, "{type %u, op 0x%x, value %u, next %u}",
                static_cast<unsigned>(matchCompType), op, value, nextIndex.value());
  return text;
}

FlowspecKey::FlowspecKey(Nwk::AddressFamily af) {
  if (af != Nwk::AddressFamily::ipv4 && af != Nwk::AddressFamily::ipv6) {
    throw Cog::RangeError("FlowspecKey::af not ipv4 or ipv6 not allowed");
  }
  // A content of its own even while empty: the shared empty content keeps the hash and text of
  // the default key, which is IPv4.
  edit();
  bits_ = (bits_ & ~kFamilyBits) | static_cast<std::uintptr_t>(af);
}

FlowspecKey::Body& FlowspecKey::edit() {
  Body* body = shared();
  if (!body) {
    body = new Body();
  } else if (body->refs > 1) {
    --body->refs;
    body = new Body(*body);
    body->refs = 1;
  }
  bits_ = reinterpret_cast<std::uintptr_t>(body) | (bits_ & kFamilyBits);
  body->hash.reset();
  body->text = {};
  return *body;
}

bool FlowspecKey::operator==(FlowspecKey const& other) const {
  if (bits_ == other.bits_) {
    return true;
  }
  Body const& a = body();
  Body const& b = other.body();
  return af() == other.af() && a.destinationPrefix == b.destinationPrefix &&
         a.sourcePrefix == b.sourcePrefix && a.opVals == b.opVals;
}

namespace {

void checkPrefixFamily(Nwk::IpGenPrefix const& prefix, Nwk::AddressFamily af) {
  if (!prefix.isEmpty() && prefix.af() != af) {
    throw Cog::RangeError("FlowspecKey::prefix address family differs from the key's not allowed");
  }
}

}  // namespace

void FlowspecKey::destinationPrefixIs(Nwk::IpGenPrefix const& prefix) {
  checkPrefixFamily(prefix, af());
  edit().destinationPrefix = prefix;
}

void FlowspecKey::sourcePrefixIs(Nwk::IpGenPrefix const& prefix) {
  checkPrefixFamily(prefix, af());
  edit().sourcePrefix = prefix;
}

void FlowspecKey::traceEncode(Trace::Encoder& e) const {
  Body const& body = this->body();
  e.raw(af());
  body.destinationPrefix.traceEncode(e);
  body.sourcePrefix.traceEncode(e);
  e.raw(static_cast<std::uint16_t>(body.opVals.size()));
  for (std::size_t i = 0; i < body.opVals.size(); ++i) {
    e.raw(body.opVals.data()[i]);
  }
}

FlowspecKey FlowspecKey::traceDecode(Trace::Decoder& d) {
  FlowspecKey key(d.raw<Nwk::AddressFamily>());
  Body& body = key.edit();
  body.destinationPrefix = Nwk::IpGenPrefix::traceDecode(d);
  body.sourcePrefix = Nwk::IpGenPrefix::traceDecode(d);
  for (auto count = d.raw<std::uint16_t>(); count > 0; --count) {
    body.opVals.push_back(d.raw<std::uint32_t>());
  }
  return key;
}

void FlowspecKey::opValAppend(MatchCompType type, std::uint8_t op, std::uint32_t value) {
  MatchOpValIndex const index(static_cast<long>(opVals().size()));  // the 2048-pair bound
  (void)index;
  if (value > kMaxValue) {
    throw Cog::RangeError("FlowspecKey::value > 0xFFFFF not allowed");
  }
  if (static_cast<std::uint32_t>(type) > kMaxType) {
    throw Cog::RangeError("FlowspecKey::matchCompType > 15 not allowed");
  }
  edit().opVals.push_back(OpVal::pack(type, op, value));
}

MatchOpValResult FlowspecKey::getOptVal(MatchOpValIndex index) const {
  OpValList const& opVals = this->opVals();
  if (index.value() >= opVals.size()) {
    return MatchOpValResult{};
  }
  OpVal const pair = opVals[index.value()];
  std::size_t const next = index.value() + 1u;
  return MatchOpValResult{pair.type, pair.op, pair.value,
                          MatchOpValIndex(next < opVals.size() ? static_cast<long>(next) : 0)};
}

namespace {

// A multiply-xorshift mix; keys land in hashed maps by the hundred thousand, so every input
// bit should reach the low bits that pick the bucket.
constexpr std::uint64_t kMul = 0x9E3779B97F4A7C15ull;

inline std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
  h = (h ^ v) * kMul;
  return h ^ (h >> 29);
}

std::uint64_t mixPrefix(std::uint64_t h, Nwk::IpGenPrefix const& prefix) {
  if (prefix.isEmpty()) {
    return mix(h, 0);
  }
  std::uint64_t lo;
  std::uint64_t hi;
  std::memcpy(&lo, prefix.addr().bytes().data(), 8);
  std::memcpy(&hi, prefix.addr().bytes().data() + 8, 8);
  h = mix(h, std::uint64_t{prefix.len()} << 8 | static_cast<std::uint64_t>(prefix.af()));
  h = mix(h, lo);
  return prefix.af() == Nwk::AddressFamily::ipv6 ? mix(h, hi) : h;
}

}  // namespace

std::size_t FlowspecKey::hash() const {
  Body const& body = this->body();
  if (body.hash) {
    return *body.hash;
  }
  std::uint64_t h = mix(0, static_cast<std::uint64_t>(af()) << 16 | body.opVals.size());
  h = mixPrefix(h, body.destinationPrefix);
  h = mixPrefix(h, body.sourcePrefix);
  std::uint32_t const* words = body.opVals.data();
  std::size_t const count = body.opVals.size();
  std::size_t i = 0;
  for (; i + 1 < count; i += 2) {
    h = mix(h, std::uint64_t{words[i]} << 32 | words[i + 1]);
  }
  if (i < count) {
    h = mix(h, words[i]);
  }
  body.hash = static_cast<std::size_t>(h);
  return *body.hash;
}

std::uint8_t canonicalOpByte(std::uint8_t logicalAndBits, std::uint32_t value, bool lastOfRun) {
  std::uint8_t const length = value <= 0xFF ? 0x00 : value <= 0xFFFF ? 0x10 : 0x20;
  return static_cast<std::uint8_t>(logicalAndBits | length | (lastOfRun ? OpBits::kEnd : 0));
}

// ---- Precedence ----

namespace {

// One component of a key in the order the precedence walks them.
struct Component {
  MatchCompType type;
  Nwk::IpGenPrefix const* prefix;  // prefix components
  std::size_t first;               // other components: their pairs [first, last)
  std::size_t last;
};

// Walks a key's components without allocating: the destination prefix, the source prefix,
// then each run of consecutive pairs of one type.
class ComponentCursor {
 public:
  explicit ComponentCursor(FlowspecKey const& key) : key_(key) {}

  bool next(Component& c) {
    if (stage_ == 0) {
      stage_ = 1;
      if (!key_.destinationPrefix().isEmpty()) {
        c = {MatchCompType::destinationPrefix, &key_.destinationPrefix(), 0, 0};
        return true;
      }
    }
    if (stage_ == 1) {
      stage_ = 2;
      if (!key_.sourcePrefix().isEmpty()) {
        c = {MatchCompType::sourcePrefix, &key_.sourcePrefix(), 0, 0};
        return true;
      }
    }
    OpValList const& pairs = key_.opVals();
    if (pos_ >= pairs.size()) {
      return false;
    }
    std::uint32_t const* words = pairs.data();
    std::uint32_t const type = words[pos_] >> 28;
    std::size_t end = pos_ + 1;
    while (end < pairs.size() && words[end] >> 28 == type) {
      ++end;
    }
    c = {static_cast<MatchCompType>(type), nullptr, pos_, end};
    pos_ = end;
    return true;
  }

 private:
  FlowspecKey const& key_;
  int stage_ = 0;
  std::size_t pos_ = 0;
};

// The bytes of a component as on the wire, one at a time: per pair, the operator byte and the
// value big-endian in the length the operator gives (the low octets when it does not fit).
class ComponentBytes {
 public:
  ComponentBytes(FlowspecKey const& key, Component const& c)
      : words_(key.opVals().data()), pair_(c.first), last_(c.last) {}

  // Pairs packed alike encode alike: both sides step over their common leading pairs at once.
  void skipCommonPairs(ComponentBytes& other) {
    while (pair_ < last_ && other.pair_ < other.last_ &&
           words_[pair_] == other.words_[other.pair_]) {
      ++pair_;
      ++other.pair_;
    }
  }

  bool next(std::uint8_t& byte) {
    if (pair_ >= last_) {
      return false;
    }
    OpVal const pair = OpVal::unpack(words_[pair_]);
    unsigned const length = 1u << ((pair.op & OpBits::kLength) >> 4);
    if (offset_ == 0) {
      byte = pair.op;
    } else {
      unsigned const shift = length - offset_;  // octets below this one
      byte = shift < 4 ? static_cast<std::uint8_t>(pair.value >> (8 * shift)) : 0;
    }
    if (++offset_ > length) {
      offset_ = 0;
      ++pair_;
    }
    return true;
  }

 private:
  std::uint32_t const* words_;
  std::size_t pair_;
  std::size_t last_;
  unsigned offset_ = 0;
};

// An address as a 128-bit big-endian number in two halves (IPv4 in the top 32 bits), so that
// prefixes compare with a few integer operations rather than a byte loop.
struct Wide {
  std::uint64_t hi;
  std::uint64_t lo;
};

Wide wide(Nwk::IpGenAddr const& addr) {
  std::uint64_t hi;
  std::uint64_t lo;
  std::memcpy(&hi, addr.bytes().data(), 8);
  std::memcpy(&lo, addr.bytes().data() + 8, 8);
  return {__builtin_bswap64(hi), __builtin_bswap64(lo)};
}

// The top `bits` bits of a 64-bit half (bits may be below 0 or above 64).
std::uint64_t topBits(int bits) {
  return bits <= 0 ? 0 : bits >= 64 ? ~std::uint64_t{0} : ~std::uint64_t{0} << (64 - bits);
}

// <0 when a comes first, >0 when b does, 0 when the RFC comparison finds them equal.
int comparePrefixes(Nwk::IpGenPrefix const& a, Nwk::IpGenPrefix const& b) {
  int const common = std::min(a.len(), b.len());
  Wide const x = wide(a.addr());
  Wide const y = wide(b.addr());
  // The lower address over the common bits first.
  std::uint64_t const maskHi = topBits(common);
  if ((x.hi & maskHi) != (y.hi & maskHi)) {
    return (x.hi & maskHi) < (y.hi & maskHi) ? -1 : 1;
  }
  std::uint64_t const maskLo = topBits(common - 64);
  if ((x.lo & maskLo) != (y.lo & maskLo)) {
    return (x.lo & maskLo) < (y.lo & maskLo) ? -1 : 1;
  }
  return a.len() == b.len() ? 0 : a.len() > b.len() ? -1 : 1;  // the longer prefix first
}

int compareBytes(ComponentBytes a, ComponentBytes b) {
  a.skipCommonPairs(b);
  for (;;) {
    std::uint8_t x = 0;
    std::uint8_t y = 0;
    bool const moreA = a.next(x);
    bool const moreB = b.next(y);
    if (!moreA || !moreB) {
      return moreA == moreB ? 0 : moreA ? -1 : 1;  // the longer encoding first
    }
    if (x != y) {
      return x < y ? -1 : 1;  // the lower bytes first
    }
  }
}

int precedence(FlowspecKey const& a, FlowspecKey const& b) {
  ComponentCursor cursorA(a);
  ComponentCursor cursorB(b);
  for (;;) {
    Component ca{};
    Component cb{};
    bool const moreA = cursorA.next(ca);
    bool const moreB = cursorB.next(cb);
    // A key out of components has an infinitely high type.
    if (!moreA || !moreB) {
      return moreA == moreB ? 0 : moreA ? -1 : 1;
    }
    if (ca.type != cb.type) {
      return ca.type < cb.type ? -1 : 1;
    }
    int cmp;
    if (ca.prefix && cb.prefix) {
      cmp = comparePrefixes(*ca.prefix, *cb.prefix);
    } else if (!ca.prefix && !cb.prefix) {
      cmp = compareBytes(ComponentBytes(a, ca), ComponentBytes(b, cb));
    } else {
      // Only a raw key puts a prefix type among its pairs: the real prefix comes first.
      cmp = ca.prefix ? -1 : 1;
    }
    if (cmp != 0) {
      return cmp;
    }
  }
}

}  // namespace

bool FlowspecKey::operator<(FlowspecKey const& other) const {
  if (af() != other.af()) {
    return af() < other.af();
  }
  if (int const cmp = precedence(*this, other); cmp != 0) {
    return cmp < 0;
  }
  // The RFC finds them equal: order by content, so that < is strict and agrees with ==. Prefixes
  // it finds equal are the same (one family, length and bits, host bits being clear), so only
  // the pairs can tell such keys apart.
  return opVals() < other.opVals();
}

std::optional<MatchCompType> FlowspecKey::outOfOrderComponent() const {
  int last = 0;  // below every type: a run of type 0 still ascends from here
  bool any = false;
  auto const next = [&](MatchCompType type) {
    int const t = static_cast<int>(type);
    bool const ok = !any || t > last;
    any = true;
    last = t;
    return ok;
  };
  Body const& body = this->body();
  if (!body.destinationPrefix.isEmpty()) {
    next(MatchCompType::destinationPrefix);
  }
  if (!body.sourcePrefix.isEmpty() && !next(MatchCompType::sourcePrefix)) {
    return MatchCompType::sourcePrefix;
  }
  OpValList const& opVals = body.opVals;
  for (std::size_t i = 0; i < opVals.size(); ++i) {
    MatchCompType const type = opVals[i].type;
    if ((i == 0 || opVals[i - 1].type != type) && !next(type)) {
      return type;
    }
  }
  return std::nullopt;
}

}  // namespace Flowspec
