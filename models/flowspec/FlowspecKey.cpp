#include "models/flowspec/FlowspecKey.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>

namespace Flowspec {

MatchOpValIndex::MatchOpValIndex(long value) {
  if (value < min || value > max) {
    throw Cog::RangeError(
        "MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed");
  }
  value_ = static_cast<std::uint16_t>(value);
}

std::string MatchOpValResult::toStrep() const {
  char text[80];
  std::snprintf(text, sizeof text, "{type %u, op 0x%x, value %u, next %u}",
                static_cast<unsigned>(matchCompType), op, value, nextIndex.value());
  return text;
}

FlowspecKey::FlowspecKey(Nwk::AddressFamily af) : af_(af) {
  if (af != Nwk::AddressFamily::ipv4 && af != Nwk::AddressFamily::ipv6) {
    throw Cog::RangeError("FlowspecKey::af not ipv4 or ipv6 not allowed");
  }
}

namespace {

void checkPrefixFamily(Nwk::IpGenPrefix const& prefix, Nwk::AddressFamily af) {
  if (!prefix.isEmpty() && prefix.af() != af) {
    throw Cog::RangeError("FlowspecKey::prefix address family differs from the key's not allowed");
  }
}

}  // namespace

void FlowspecKey::destinationPrefixIs(Nwk::IpGenPrefix const& prefix) {
  checkPrefixFamily(prefix, af_);
  destinationPrefix_ = prefix;
}

void FlowspecKey::sourcePrefixIs(Nwk::IpGenPrefix const& prefix) {
  checkPrefixFamily(prefix, af_);
  sourcePrefix_ = prefix;
}

void FlowspecKey::opValAppend(MatchCompType type, std::uint8_t op, std::uint32_t value) {
  MatchOpValIndex const index(static_cast<long>(opVals_.size()));
  (void)index;
  if (value > kMaxValue) {
    throw Cog::RangeError("FlowspecKey::value > 0xFFFFF not allowed");
  }
  opVals_.push_back(OpVal{type, op, value});
}

MatchOpValResult FlowspecKey::getOptVal(MatchOpValIndex index) const {
  if (index.value() >= opVals_.size()) {
    return MatchOpValResult{};
  }
  OpVal const& pair = opVals_[index.value()];
  std::size_t const next = index.value() + 1u;
  return MatchOpValResult{pair.type, pair.op, pair.value,
                          MatchOpValIndex(next < opVals_.size() ? static_cast<long>(next) : 0)};
}

std::size_t FlowspecKey::hash() const {
  std::size_t h = 0xcbf29ce484222325ull ^ static_cast<std::size_t>(af_);
  auto mix = [&h](std::uint64_t v) { h = (h ^ v) * 0x100000001B3ull; };
  for (auto const* prefix : {&destinationPrefix_, &sourcePrefix_}) {
    mix(std::hash<Nwk::IpGenPrefix>()(*prefix));
  }
  for (OpVal const& pair : opVals_) {
    mix(static_cast<std::uint64_t>(pair.type) << 40 | std::uint64_t{pair.op} << 32 | pair.value);
  }
  return h;
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
    auto const& pairs = key_.opVals();
    if (pos_ >= pairs.size()) {
      return false;
    }
    std::size_t end = pos_ + 1;
    while (end < pairs.size() && pairs[end].type == pairs[pos_].type) {
      ++end;
    }
    c = {pairs[pos_].type, nullptr, pos_, end};
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
      : pairs_(key.opVals()), pair_(c.first), last_(c.last) {}

  bool next(std::uint8_t& byte) {
    if (pair_ >= last_) {
      return false;
    }
    auto const& pair = pairs_[pair_];
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
  std::vector<FlowspecKey::OpVal> const& pairs_;
  std::size_t pair_;
  std::size_t last_;
  unsigned offset_ = 0;
};

// <0 when a comes first, >0 when b does, 0 when the RFC comparison finds them equal.
int comparePrefixes(Nwk::IpGenPrefix const& a, Nwk::IpGenPrefix const& b) {
  unsigned const common = std::min(a.len(), b.len());
  auto const& x = a.addr().bytes();
  auto const& y = b.addr().bytes();
  for (unsigned bit = 0; bit < common; ++bit) {
    unsigned const xb = (x[bit / 8] >> (7 - bit % 8)) & 1;
    unsigned const yb = (y[bit / 8] >> (7 - bit % 8)) & 1;
    if (xb != yb) {
      return xb < yb ? -1 : 1;  // the lower address first
    }
  }
  return a.len() == b.len() ? 0 : a.len() > b.len() ? -1 : 1;  // the longer prefix first
}

int compareBytes(ComponentBytes a, ComponentBytes b) {
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

auto contentTuple(FlowspecKey const& key) {
  return std::tie(key.destinationPrefix(), key.sourcePrefix());
}

}  // namespace

bool FlowspecKey::operator<(FlowspecKey const& other) const {
  if (af_ != other.af_) {
    return af_ < other.af_;
  }
  if (int const cmp = precedence(*this, other); cmp != 0) {
    return cmp < 0;
  }
  if (contentTuple(*this) != contentTuple(other)) {
    return contentTuple(*this) < contentTuple(other);
  }
  return std::lexicographical_compare(
      opVals_.begin(), opVals_.end(), other.opVals_.begin(), other.opVals_.end(),
      [](OpVal const& x, OpVal const& y) {
        return std::tie(x.type, x.op, x.value) < std::tie(y.type, y.op, y.value);
      });
}

}  // namespace Flowspec
