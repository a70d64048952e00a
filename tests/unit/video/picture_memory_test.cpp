// Pictures that need more memory, which is got and filled while other threads use the store.
#include "tests/unit/support/memory_shortage.h"
#include "tests/unit/video/frame_store_fixture.h"

namespace kavrin {
namespace {

using testing::meanwhileAllocating;

constexpr int kSmall = 20;
constexpr int kLarge = 40;

constexpr std::size_t bytesOf(int side) { return static_cast<std::size_t>(side * side * 3 / 2); }

class PictureMemoryTest : public FrameStoreTest {
 protected:
  void SetUp() override {
    store->announce("ann", 0);
    buffer = bind("ann", 0, bytesOf(kLarge));
  }
  // Allocates nothing of its own.
  void deliverSquare(int side, unsigned char first) {
    Bytes& pixels = side == kSmall ? small : large;
    pixels[0] = first;
    const auto length = static_cast<std::uint16_t>(side);
    store->deliver("ann", 0, {length, length, 0, pixels.data()});
  }
  bool allocates(int side) {
    return meanwhileAllocating(
        bytesOf(side), [] {}, [&] { deliverSquare(side, 3); });
  }

  napi_value buffer = nullptr;
  Bytes small = Bytes(bytesOf(kSmall));
  Bytes large = Bytes(bytesOf(kLarge));
};

TEST_F(PictureMemoryTest, AStreamThatEndsMeanwhileKeepsNoPicture) {
  EXPECT_TRUE(meanwhileAllocating(
      bytesOf(kSmall), [&] { store->withdraw("ann", 0); }, [&] { deliverSquare(kSmall, 1); }));
  store->announce("ann", 0);
  EXPECT_EQ(store->get({"ann", 0}, true).ret, Store::kNoPicture);
  EXPECT_EQ(notes.take(), Texts());
  deliverSquare(kSmall, 2);
  EXPECT_EQ(store->get({"ann", 0}, false).ret, Store::kCopied);
  EXPECT_EQ(buffer->bytes[0], 2);
}

TEST_F(PictureMemoryTest, ABlockThatGrewMeanwhileDoesNotShrink) {
  EXPECT_TRUE(meanwhileAllocating(
      bytesOf(kSmall), [&] { deliverSquare(kLarge, 1); }, [&] { deliverSquare(kSmall, 2); }));
  const Store::Fetch fetch = store->get({"ann", 0}, false);
  EXPECT_EQ(fetch.width, static_cast<std::uint32_t>(kSmall));
  EXPECT_EQ(buffer->bytes[0], 2);
  EXPECT_FALSE(allocates(kLarge));
}

TEST_F(PictureMemoryTest, GrowsOnceAndIsReused) {
  EXPECT_TRUE(allocates(kSmall));
  EXPECT_TRUE(allocates(kLarge));
  EXPECT_FALSE(allocates(kLarge));
  EXPECT_FALSE(allocates(kSmall));
  store->withdraw("ann", 0);
  store->announce("ann", 0);
  EXPECT_TRUE(allocates(kSmall));
}

}  // namespace
}  // namespace kavrin
