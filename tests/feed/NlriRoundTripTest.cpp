// Random valid rules, encoded by an encoder written here from the RFC text, decode back to the
// key they were made from.
#include <gtest/gtest.h>

#include <random>

#include "feed/NlriDecoder.h"

namespace {

using Flowspec::MatchCompType;

Nwk::IpGenPrefix randomPrefix(std::mt19937& rng, bool v6) {
  Nwk::IpGenAddr::Bytes bytes{};
  for (std::uint8_t& b : bytes) {
    b = static_cast<std::uint8_t>(rng());
  }
  auto const length = static_cast<std::uint8_t>(rng() % (v6 ? 129 : 33));
  return Nwk::IpGenPrefix(
      v6 ? Nwk::IpGenAddr::ipv6(bytes) : Nwk::IpGenAddr::ipv4(static_cast<std::uint32_t>(rng())),
      length);
}

// A rule as the RFCs allow it: ascending types, bitmask lengths the RFC's, any numeric length,
// values a key holds, the end bit on the last pair of each list. Now and then a long list, so
// that two-octet lengths come up.
Flowspec::FlowspecKey randomKey(std::mt19937& rng) {
  bool const v6 = rng() % 2;
  Flowspec::FlowspecKey key(v6 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4);
  if (rng() % 2) {
    key.destinationPrefixIs(randomPrefix(rng, v6));
  }
  if (rng() % 2) {
    key.sourcePrefixIs(randomPrefix(rng, v6));
  }
  for (unsigned t = 3; t <= (v6 ? 13u : 12u); ++t) {
    if (rng() % 3) {
      continue;
    }
    auto const type = static_cast<MatchCompType>(t);
    unsigned const pairs = rng() % 8 == 0 ? 100 + rng() % 200 : 1 + rng() % 4;
    for (unsigned p = 0; p < pairs; ++p) {
      unsigned const lengthCode = type == MatchCompType::fragment   ? 0
                                  : type == MatchCompType::tcpFlags ? rng() % 2
                                                                    : rng() % 4;
      std::uint32_t const widest = lengthCode == 0 ? 0xFF : lengthCode == 1 ? 0xFFFF : 0xFFFFF;
      std::uint32_t const value = rng() % 4 == 0 ? widest : rng() % (widest + 1);
      auto const op =
          static_cast<std::uint8_t>(lengthCode << 4 | (rng() & 0x0F) |
                                    (p > 0 && rng() % 2 ? 0x40 : 0) | (p + 1 == pairs ? 0x80 : 0));
      key.opValAppend(type, op, value);
    }
  }
  return key;
}

std::vector<std::uint8_t> encode(Flowspec::FlowspecKey const& key) {
  bool const v6 = key.af() == Nwk::AddressFamily::ipv6;
  std::vector<std::uint8_t> body;
  auto const prefix = [&](std::uint8_t type, Nwk::IpGenPrefix const& p) {
    if (p.isEmpty()) {
      return;
    }
    body.insert(body.end(), {type, p.len()});
    if (v6) {
      body.push_back(0);  // offset
    }
    body.insert(body.end(), p.addr().bytes().begin(), p.addr().bytes().begin() + (p.len() + 7) / 8);
  };
  prefix(1, key.destinationPrefix());
  prefix(2, key.sourcePrefix());
  MatchCompType previous = MatchCompType::none;
  for (Flowspec::OpVal const pair : key.opVals()) {
    if (pair.type != previous) {
      body.push_back(static_cast<std::uint8_t>(pair.type));
      previous = pair.type;
    }
    body.push_back(pair.op);
    for (unsigned i = 1u << ((pair.op >> 4) & 3); i-- > 0;) {
      body.push_back(i < 4 ? static_cast<std::uint8_t>(pair.value >> (8 * i)) : 0);
    }
  }
  std::vector<std::uint8_t> nlri;
  if (body.size() < 240) {
    nlri.push_back(static_cast<std::uint8_t>(body.size()));
  } else {
    nlri.insert(nlri.end(), {static_cast<std::uint8_t>(0xF0 | body.size() >> 8),
                             static_cast<std::uint8_t>(body.size())});
  }
  nlri.insert(nlri.end(), body.begin(), body.end());
  return nlri;
}

TEST(NlriRoundTrip, RandomValidRulesDecodeToTheirKeys) {
  std::mt19937 rng(8955);
  int longOnes = 0;
  for (int i = 0; i < 3000; ++i) {
    Flowspec::FlowspecKey const key = randomKey(rng);
    std::vector<std::uint8_t> const nlri = encode(key);
    if (nlri.size() > 4097) {
      continue;  // past what two length octets say
    }
    longOnes += nlri.size() > 241;
    Feed::NlriResult const result = Feed::NlriDecoder(key.af()).decode(nlri);
    ASSERT_TRUE(result.key) << key << ": " << result.diagnostics.front().toStrep();
    EXPECT_EQ(*result.key, key);
    EXPECT_EQ(result.length, nlri.size());
    EXPECT_TRUE(result.diagnostics.empty()) << key;
  }
  EXPECT_GT(longOnes, 100);
}

}  // namespace
