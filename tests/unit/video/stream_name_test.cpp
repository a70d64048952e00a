#include "video/stream_name.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>

namespace kavrin {
namespace {

std::size_t hashOf(const StreamName& name) { return StreamName::Hash()(name); }

TEST(StreamName, BothSizesOfACameraNameOneStream) {
  const StreamName large("ann", 0);
  const StreamName small("ann", 1);
  EXPECT_EQ(large, small);
  EXPECT_EQ(hashOf(large), hashOf(small));
  EXPECT_EQ(small.type(), 1);  // as given, for what script is told
}

TEST(StreamName, OtherTypesAndOtherUsersNameOthers) {
  EXPECT_FALSE(StreamName("ann", 0) == StreamName("ann", 2));
  EXPECT_FALSE(StreamName("ann", 0) == StreamName("bob", 0));
  EXPECT_FALSE(StreamName("ann_0", 0) == StreamName("ann", 0));
  EXPECT_FALSE(StreamName("", 0) == StreamName("ann", 0));
}

TEST(StreamName, TypesBeyondAnInt32StayApartFromNegativeOnes) {
  EXPECT_FALSE(StreamName("ann", std::uint32_t{0xFFFFFFFF}) == StreamName("ann", -1));
}

TEST(StreamName, WithoutAnythingEqualsAnEmptyOne) {
  EXPECT_EQ(StreamName(), StreamName("", 0));
  EXPECT_EQ(hashOf(StreamName()), hashOf(StreamName("", 0)));
}

TEST(StreamName, HashesOfTheUsualTypesDiffer) {
  std::set<std::size_t> hashes;
  for (const int type : {0, 2, 3, 4, 5}) hashes.insert(hashOf(StreamName("ann", type)));
  EXPECT_EQ(hashes.size(), 5U);
}

}  // namespace
}  // namespace kavrin
