#include "servers/backupcopy/content_hash.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vellix::backupcopy {
namespace {

TEST(ContentHash, GivesThePublishedValues) {
  EXPECT_EQ(ContentHash::Of("", 0), 0x2D06800538D394C2ULL);
  EXPECT_EQ(ContentHash::Of("abc", 3), 0x78AF5F94892F3950ULL);
  EXPECT_NE(ContentHash::Of("abc", 3, 1), ContentHash::Of("abc", 3));
  ContentHash seeded(1);
  seeded.Update("abc", 3);
  EXPECT_EQ(seeded.Digest(), ContentHash::Of("abc", 3, 1));
}

TEST(ContentHash, DependsOnTheBytesNotOnHowTheyArrive) {
  std::vector<unsigned char> data(100'003);
  std::mt19937 random(7);
  for (auto& b : data)
    b = static_cast<unsigned char>(random());
  const uint64_t whole = ContentHash::Of(data.data(), data.size());

  for (size_t block : {1U, 3U, 64U, 240U, 241U, 1024U, 4096U, 65'537U}) {
    ContentHash hash;
    for (size_t at = 0; at < data.size(); at += block) {
      hash.Update(data.data() + at, std::min(block, data.size() - at));
    }
    EXPECT_EQ(hash.Digest(), whole) << "blocks of " << block;
  }

  // One flipped bit anywhere, or one byte more, is a different file.
  for (size_t at : {size_t{0}, size_t{31}, size_t{50'000}, data.size() - 1}) {
    auto changed = data;
    changed[at] ^= 0x01;
    EXPECT_NE(ContentHash::Of(changed.data(), changed.size()), whole) << "bit at " << at;
  }
  auto longer = data;
  longer.push_back(0);
  EXPECT_NE(ContentHash::Of(longer.data(), longer.size()), whole);
}

}  // namespace
}  // namespace vellix::backupcopy
