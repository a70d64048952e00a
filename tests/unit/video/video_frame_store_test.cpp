// Pictures: fetching, keys, announcements, sizes.
#include "tests/unit/video/frame_store_fixture.h"

namespace kavrin {
namespace {

// --- Fetching
// --------------------------------------------------------------------------------------

TEST_F(FrameStoreTest, ANewPictureIsCopiedOnceUnlessForced) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 0, 24);
  deliver("ann", 0, 4, 4, 10);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
  EXPECT_EQ(buffer->bytes, picture(4, 4, 10));
  EXPECT_EQ(get("ann", 0), R"({"ret":1,"width":0,"height":0})");
  buffer->bytes.assign(24, 0);
  EXPECT_EQ(get("ann", 0, true), R"({"ret":0,"width":4,"height":4})");
  EXPECT_EQ(buffer->bytes, picture(4, 4, 10));
  EXPECT_EQ(get("ann", 0), R"({"ret":1,"width":0,"height":0})");
  deliver("ann", 0, 4, 4, 20);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
  EXPECT_EQ(buffer->bytes, picture(4, 4, 20));
}

TEST_F(FrameStoreTest, WithoutABufferOrAPicture) {
  EXPECT_EQ(get("ann", 0), R"({"ret":-1,"width":0,"height":0})");
  store->announce("ann", 0);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-1,"width":0,"height":0})");
  bind("bob", 0, 24);
  EXPECT_EQ(get("bob", 0), R"({"ret":-2,"width":0,"height":0})");
  EXPECT_EQ(get("bob", 0, true), R"({"ret":-2,"width":0,"height":0})");
}

TEST_F(FrameStoreTest, ABufferOneByteTooSmallIsToldOncePerFetch) {
  store->announce("ann", 2);
  napi_value buffer = bind("ann", 2, 23);
  deliver("ann", 2, 4, 4);
  notes.take();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(get("ann", 2), R"({"ret":-3,"width":4,"height":4})");
    EXPECT_EQ(notes.take(), Texts{R"(overflow {"needSize":24,"curSize":23,"width":4,"height":4,)"
                                  R"("uid":"ann","type":2})"});
  }
  EXPECT_EQ(buffer->bytes, Bytes(23, 0xEE));
  bind("ann", 2, 24);
  EXPECT_EQ(get("ann", 2), R"({"ret":0,"width":4,"height":4})");  // it stayed fresh
}

TEST_F(FrameStoreTest, TheOverflowNoteTellsTheTypeAsGiven) {
  store->announce("a\"b", 0);
  bind("a\"b", 1, 1);
  deliver("a\"b", 0, 2, 2);
  notes.take();
  get("a\"b", 1);
  EXPECT_EQ(notes.take(), Texts{R"(overflow {"needSize":6,"curSize":1,"width":2,"height":2,)"
                                R"("uid":"a\"b","type":1})"});
}

TEST_F(FrameStoreTest, AStoreWithoutANotifierStaysSilent) {
  Store silent(nullptr);
  const Bytes bytes = picture(2, 2);
  silent.announce("ann", 0);
  silent.deliver("ann", 0, {2, 2, 0, bytes.data()});
  EXPECT_TRUE(silent.bind(&env, env.buffer({1}), "ann", 0));
  EXPECT_EQ(silent.get({"ann", 0}, false).ret, Store::kBufferTooSmall);
}

TEST_F(FrameStoreTest, ALargerBufferKeepsItsTail) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 0, 26);
  deliver("ann", 0, 4, 4, 1);
  get("ann", 0);
  EXPECT_EQ(buffer->bytes[23], 24);
  EXPECT_EQ(buffer->bytes[24], 0xEE);
  EXPECT_EQ(buffer->bytes[25], 0xEE);
}

// --- Keys
// ------------------------------------------------------------------------------------------

TEST_F(FrameStoreTest, BothCameraTypesShareOneSlotAndOneBuffer) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 1, 24);
  deliver("ann", 1, 4, 4, 5);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
  EXPECT_EQ(buffer->bytes, picture(4, 4, 5));
  deliver("ann", 0, 2, 2);
  EXPECT_EQ(get("ann", 1), R"({"ret":0,"width":2,"height":2})");
  bind("ann", 0, 24);
  EXPECT_EQ(env.heldReferences(), 1);
  store->unbind(&env, "ann", 1);
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(FrameStoreTest, TypesOfOneUserAreApart) {
  store->announce("ann", 0);
  store->announce("ann", 2);
  napi_value camera = bind("ann", 0, 24);
  napi_value screen = bind("ann", 2, 24);
  deliver("ann", 0, 4, 4, 1);
  deliver("ann", 2, 4, 4, 2);
  get("ann", 0);
  get("ann", 2);
  EXPECT_EQ(camera->bytes[0], 1);
  EXPECT_EQ(screen->bytes[0], 2);
}

TEST_F(FrameStoreTest, NamesAreTextsOfJsonWhateverTheyHold) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"", R"("")"},
      {"\xE5\xBC\xA0 \x7F/", "\"\xE5\xBC\xA0 \x7F/\""},
      {R"(a"b\c)", R"("a\"b\\c")"},
      {"line\n\x01", R"("line\n\u0001")"},
  };
  for (const auto& [name, json] : names) {
    store->announce(name, 0);
    deliver(name, 0, 2, 2);
    EXPECT_EQ(notes.take(),
              Texts{R"(size {"uid":)" + json + R"(,"type":0,"width":2,"height":2,"needSize":6})"});
  }
}

TEST_F(FrameStoreTest, UnsignedTypesDoNotMeetNegativeOnes) {
  store->setExemptUser("me");
  bind("me", -1, 24);
  deliver("me", 0xFFFFFFFFu, 4, 4);
  EXPECT_EQ(get("me", -1), R"({"ret":-2,"width":0,"height":0})");
  EXPECT_EQ(notes.take(), Texts{R"(size {"uid":"me","type":4294967295,"width":4,"height":4,)"
                                R"("needSize":24})"});
}

// --- Announcements
// ---------------------------------------------------------------------------------

TEST_F(FrameStoreTest, PicturesOfStreamsThatWereNotAnnouncedAreDropped) {
  bind("ann", 0, 24);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
  store->announce("ann", 2);
  deliver("ann", 0, 4, 4);
  store->announce("an", 0);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
  EXPECT_TRUE(notes.take().empty());
}

TEST_F(FrameStoreTest, TheExemptUserNeedsNoAnnouncement) {
  bind("me", 0, 24);
  store->setExemptUser("me");
  deliver("me", 0, 4, 4);
  EXPECT_EQ(get("me", 0), R"({"ret":0,"width":4,"height":4})");
  store->setExemptUser("other");
  deliver("me", 0, 4, 4);
  EXPECT_EQ(get("me", 0), R"({"ret":1,"width":0,"height":0})");
}

TEST_F(FrameStoreTest, WithdrawalDropsTheKeyAndItsPictureOnly) {
  for (const int mode : {0, 2}) {
    store->announce("ann", mode);
    bind("ann", mode, 24);
    deliver("ann", static_cast<std::uint32_t>(mode), 4, 4);
  }
  store->withdraw("ann", 0);
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
  EXPECT_EQ(get("ann", 2), R"({"ret":0,"width":4,"height":4})");
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
  store->announce("ann", 0);  // the buffer stayed bound
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
  store->withdraw("nobody", 0);
}

TEST_F(FrameStoreTest, AStreamAnnouncedTwiceIsWithdrawnOnce) {
  store->announce("ann", 0);
  store->announce("ann", 0);
  store->withdraw("ann", 0);
  bind("ann", 0, 24);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
}

TEST_F(FrameStoreTest, AMemberThatLeavesTakesOnlyItsOwnStreams) {
  // Names that begin like the member's, or like one of its keys.
  const char* const users[] = {"a", "a_", "a_0", "a_b", "b_a", "", "a_2"};
  for (const char* user : users) {
    for (const int mode : {0, 2}) {
      store->announce(user, mode);
      bind(user, mode, 24);
      deliver(user, static_cast<std::uint32_t>(mode), 4, 4);
    }
  }
  store->removeMember("a");
  for (const char* user : users) {
    for (const int mode : {0, 2}) {
      const int expected = std::string(user) == "a" ? Store::kNoPicture : Store::kCopied;
      EXPECT_EQ(store->get({user, mode}, false).ret, expected) << user << " " << mode;
    }
  }
  store->removeMember("a_0");
  EXPECT_EQ(store->get({"a_0", 0}, true).ret, Store::kNoPicture);
  EXPECT_EQ(store->get({"a_", 0}, true).ret, Store::kCopied);
  deliver("a", 0, 4, 4);
  EXPECT_EQ(store->get({"a", 0}, true).ret, Store::kNoPicture);
}

// --- Sizes
// -----------------------------------------------------------------------------------------

TEST_F(FrameStoreTest, ANewSizeIsToldTheFirstPictureIncluded) {
  store->announce("ann", 0);
  deliver("ann", 1, 4, 4);
  EXPECT_EQ(notes.take(),
            Texts{R"(size {"uid":"ann","type":1,"width":4,"height":4,"needSize":24})"});
  deliver("ann", 0, 4, 4);
  EXPECT_TRUE(notes.take().empty());
  deliver("ann", 0, 4, 6);
  deliver("ann", 0, 6, 4);  // as many bytes, another shape
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(notes.take(),
            (Texts{R"(size {"uid":"ann","type":0,"width":4,"height":6,"needSize":36})",
                   R"(size {"uid":"ann","type":0,"width":6,"height":4,"needSize":36})",
                   R"(size {"uid":"ann","type":0,"width":4,"height":4,"needSize":24})"}));
  store->withdraw("ann", 0);
  store->announce("ann", 0);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(notes.take().size(), 1u);
}

TEST_F(FrameStoreTest, SmallerPicturesAfterLargerOnesAreFetchedWithTheirOwnSize) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 0, 96);
  deliver("ann", 0, 8, 8, 1);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":8,"height":8})");
  buffer->bytes.assign(96, 0xEE);
  deliver("ann", 0, 2, 2, 7);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":2,"height":2})");
  EXPECT_EQ(buffer->bytes[5], 12);
  EXPECT_EQ(buffer->bytes[6], 0xEE);
  deliver("ann", 0, 8, 8, 1);  // within the block that was kept
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":8,"height":8})");
  EXPECT_EQ(buffer->bytes, picture(8, 8, 1));
}

TEST_F(FrameStoreTest, OddSizesAreTruncated) {
  store->announce("ann", 0);
  bind("ann", 0, 13);
  deliver("ann", 0, 3, 3);  // 3 * 3 * 3 / 2 = 13
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":3,"height":3})");
}

TEST_F(FrameStoreTest, APictureWithoutPixelsIsAPicture) {
  store->announce("ann", 0);
  bind("ann", 0, 1);
  deliver("ann", 0, 4, 0);
  const unsigned char none = 0;
  store->deliver("ann", 0, {4, 0, 0, &none});
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":0})");
}

TEST_F(FrameStoreTest, PicturesWithoutDataOrWithTooMuchOfItAreDropped) {
  store->announce("ann", 0);
  bind("ann", 0, 24);
  store->deliver("ann", 0, {4, 4, 0, nullptr});
  const unsigned char byte = 0;
  store->deliver("ann", 0, {65535, 65535, 0, &byte});
  EXPECT_EQ(get("ann", 0), R"({"ret":-2,"width":0,"height":0})");
}

}  // namespace
}  // namespace kavrin
