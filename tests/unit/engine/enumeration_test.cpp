// Lists that the engine fails to make.
#include <gtest/gtest.h>

#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

class EnumerationTest : public testing::FacadeTest {
 protected:
  EnumerationTest() { logIn(); }
};

TEST_F(EnumerationTest, AFailureGivesNothingAndKeepsWhatTheEngineMade) {
  testing::setOutput("EnumCameraDevice", R"([{"id":1},{"id":2}])");
  testing::setOutput("EnumSpeakerDevice", R"([{"id":3}])");
  testing::setOutput("EnumAudioCaptureDevice", R"([{"id":4}])");
  for (const char* name : {"EnumCameraDevice", "EnumSpeakerDevice", "EnumAudioCaptureDevice"}) {
    testing::setResult(name, 7);
    EXPECT_TRUE(arguments(name, {}).is(Variant::Kind::Null)) << name;
  }
  EXPECT_EQ(facade->state.cameraDevices.size(), 2u);
  EXPECT_EQ(facade->state.speakerDevices.size(), 1u);
  EXPECT_EQ(facade->state.audioCaptureDevices.size(), 1u);
}

// The leak checker looks for the thumbnails.
TEST_F(EnumerationTest, ThumbnailsAreFreedHoweverTheCallEnds) {
  testing::setOutput("EnumScreenAndWindow",
                     R"([{"id":1,"thumbnail":[1,2,3]},{"id":2,"thumbnail":[4]}])");
  EXPECT_TRUE(arguments("EnumScreenAndWindow", {}).is(Variant::Kind::ScriptValue));
  testing::setResult("EnumScreenAndWindow", 7);
  EXPECT_TRUE(arguments("EnumScreenAndWindow", {}).is(Variant::Kind::Null));
  testing::setThrow("EnumScreenAndWindow", "broken");
  EXPECT_TRUE(arguments("EnumScreenAndWindow", {}).is(Variant::Kind::Null));
  EXPECT_TRUE(log.contains("ERROR", "broken"));
}

}  // namespace
}  // namespace kavrin
