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

std::vector<Component> components(FlowspecKey const& key) {
  std::vector<Component> out;
  if (!key.destinationPrefix().isEmpty()) {
    out.push_back({MatchCompType::destinationPrefix, &key.destinationPrefix(), 0, 0});
  }
  if (!key.sourcePrefix().isEmpty()) {
    out.push_back({MatchCompType::sourcePrefix, &key.sourcePrefix(), 0, 0});
  }
  auto const& pairs = key.opVals();
  for (std::size_t i = 0; i < pairs.size();) {
    std::size_t j = i + 1;
    while (j < pairs.size() && pairs[j].type == pairs[i].type) {
      ++j;
    }
    out.push_back({pairs[i].type, nullptr, i, j});
    i = j;
  }
  return out;
}

// The component's bytes as on the wire: per pair, the operator byte and the value big-endian
// in the length the operator gives.
std::vector<std::uint8_t> encode(FlowspecKey const& key, Component const& c) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = c.first; i < c.last; ++i) {
    auto const& pair = key.opVals()[i];
    bytes.push_back(pair.op);
    unsigned const length = 1u << ((pair.op & OpBits::kLength) >> 4);
    for (unsigned b = length; b-- > 0;) {
      bytes.push_back(b < 4 ? static_cast<std::uint8_t>(pair.value >> (8 * b)) : 0);
    }
  }
  return bytes;
}

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

int compareBytes(std::vector<std::uint8_t> const& a, std::vector<std::uint8_t> const& b) {
  std::size_t const common = std::min(a.size(), b.size());
  int const cmp = common ? std::memcmp(a.data(), b.data(), common) : 0;
  if (cmp != 0) {
    return cmp < 0 ? -1 : 1;  // the lower bytes first
  }
  return a.size() == b.size() ? 0 : a.size() > b.size() ? -1 : 1;  // the longer one first
}

int precedence(FlowspecKey const& a, FlowspecKey const& b) {
  auto const ca = components(a);
  auto const cb = components(b);
  for (std::size_t i = 0; i < std::max(ca.size(), cb.size()); ++i) {
    // A key out of components has an infinitely high type.
    if (i >= ca.size()) {
      return 1;
    }
    if (i >= cb.size()) {
      return -1;
    }
    if (ca[i].type != cb[i].type) {
      return ca[i].type < cb[i].type ? -1 : 1;
    }
    int cmp;
    if (ca[i].prefix && cb[i].prefix) {
      cmp = comparePrefixes(*ca[i].prefix, *cb[i].prefix);
    } else if (!ca[i].prefix && !cb[i].prefix) {
      cmp = compareBytes(encode(a, ca[i]), encode(b, cb[i]));
    } else {
      // Only a raw key puts a prefix type among its pairs: the real prefix comes first.
      cmp = ca[i].prefix ? -1 : 1;
    }
    if (cmp != 0) {
      return cmp;
    }
  }
  return 0;
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
