#include "servers/backupcopy/content_hash.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vellix::backupcopy {
namespace {

// The hash itself is the library's; this checks the seed and the streaming use of it.
TEST(ContentHash, GivesThePublishedValueWhateverBlocksTheBytesArriveIn) {
  EXPECT_EQ(ContentHash::Of("", 0), 0x2D06800538D394C2ULL);
  EXPECT_EQ(ContentHash::Of("abc", 3), 0x78AF5F94892F3950ULL);
  ContentHash seeded(1);
  seeded.Update("abc", 3);
  EXPECT_EQ(seeded.Digest(), ContentHash::Of("abc", 3, 1));
  EXPECT_NE(seeded.Digest(), ContentHash::Of("abc", 3));
  std::vector<unsigned char> data(100'003);
  std::mt19937 random(7);
  for (auto& b : data)
    b = static_cast<unsigned char>(random());
  for (size_t block : {1U, 241U, 65'537U}) {
    ContentHash hash;
    for (size_t at = 0; at < data.size(); at += block)
      hash.Update(data.data() + at, std::min(block, data.size() - at));
    EXPECT_EQ(hash.Digest(), ContentHash::Of(data.data(), data.size())) << "blocks of " << block;
  }
}

}  // namespace
}  // namespace vellix::backupcopy
