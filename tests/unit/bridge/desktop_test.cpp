// Places of screens and windows on a real X server.
#include <gtest/gtest.h>

#include <cstring>

#include "bridge/records.h"
#include "support/host_services.h"
#include "tests/unit/fake_node_api/script_environment.h"
#include "tests/unit/support/log_capture.h"
#include "tests/unit/support/virtual_display.h"

namespace kv_engine {
namespace {

using Kavrin::ConferenceEngine::ScreenShareDeviceInfo;
using kavrin::fake::ScriptEnvironment;
using kavrin::fake::show;
using Lines = std::vector<std::string>;

constexpr std::int32_t kScreen = 1;
constexpr std::int32_t kWindow = 2;

ScreenShareDeviceInfo source(std::int32_t id, std::int32_t type, const char* name) {
  ScreenShareDeviceInfo made{};
  made.id = id;
  made.type = type;
  std::strncpy(made.name, name, sizeof made.name - 1);
  return made;
}

class DesktopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!kavrin::testing::VirtualDisplay::isInstalled()) {
      GTEST_SKIP() << "Xvfb is not installed";
    }
    display = std::make_unique<kavrin::testing::VirtualDisplay>();
    ASSERT_TRUE(display->ready());
    display->addMonitor("left", 0, 0, 800, 600);
    display->addMonitor("right", 800, 100, 640, 480);
  }

  // The geometry of one source: {"x":...} or {}.
  std::string place(const ScreenShareDeviceInfo& one) {
    napi_value list = convertScreenShareDeviceInfoVerctor(&env, logger, {one});
    napi_value object = list->elements.at(0);
    napi_value geometry = env.object();
    for (const char* key : {"x", "y", "width", "height"}) {
      if (object->find(key) != nullptr) geometry->set(key, object->find(key)->value);
    }
    return show(geometry);
  }

  kavrin::testing::LogCapture log;
  kavrin::Logger logger;
  ScriptEnvironment env;
  std::unique_ptr<kavrin::testing::VirtualDisplay> display;
};

TEST_F(DesktopTest, ScreensAreFoundByTheNameOfTheirMonitor) {
  EXPECT_EQ(place(source(1, kScreen, "left")), R"({"x":0,"y":0,"width":800,"height":600})");
  EXPECT_EQ(place(source(2, 0, "right")), R"({"x":800,"y":100,"width":640,"height":480})");
  EXPECT_EQ(place(source(3, kScreen, "middle")), "{}");
  EXPECT_EQ(place(source(3, kScreen, "")), "{}");
}

TEST_F(DesktopTest, SourcesWithAPlaceAreLoggedAndKeepTheirNameLast) {
  napi_value list = convertScreenShareDeviceInfoVerctor(
      &env, logger, {source(4, kScreen, "right"), source(5, kScreen, "nowhere")});
  EXPECT_EQ(show(list->elements.at(0)),
            R"({"id":4,"type":1,"thumbnailWidth":0,"thumbnailHeight":0,"thumbnailDataLength":0,)"
            R"("x":800,"y":100,"width":640,"height":480,"name":"right"})");
  EXPECT_EQ(log.lines(),
            Lines{"INFO kv_engine::convertScreenShareDeviceInfoVerctor: "
                  "ScreenShareDeviceInfo:id:4,type:1,name:right,left:800,top:100,right:1440,"
                  "bottom:580"});
}

TEST_F(DesktopTest, WindowsAreFoundByTheirHandleWhileTheyAreShown) {
  const std::int32_t window = display->createWindow(30, 40, 200, 100);
  EXPECT_EQ(place(source(window, kWindow, "w")), "{}");
  display->map(window);
  EXPECT_EQ(place(source(window, kWindow, "w")), R"({"x":30,"y":40,"width":200,"height":100})");
  // The type tells what the id means.
  EXPECT_EQ(place(source(window, kScreen, "w")), "{}");
  display->unmap(window);
  EXPECT_EQ(place(source(window, kWindow, "w")), "{}");
  display->map(window);
  display->destroy(window);
  EXPECT_EQ(place(source(window, kWindow, "w")), "{}");
  EXPECT_EQ(place(source(0, kWindow, "left")), "{}");
  EXPECT_EQ(place(source(-1, kWindow, "left")), "{}");
}

TEST_F(DesktopTest, AWindowPartlyOffTheDesktopKeepsItsNegativePlace) {
  const std::int32_t window = display->createWindow(-50, -20, 200, 100);
  display->map(window);
  EXPECT_EQ(place(source(window, kWindow, "w")), R"({"x":-50,"y":-20,"width":200,"height":100})");
}

TEST_F(DesktopTest, MonitorsAreGoneWithTheDisplay) {
  EXPECT_GE(kavrin::host::monitors().size(), 2u);
  display.reset();
  EXPECT_TRUE(kavrin::host::monitors().empty());
  EXPECT_EQ(place(source(1, kScreen, "left")), "{}");
}

}  // namespace
}  // namespace kv_engine
