// What this folder tests of other systems, so that a run on Windows shows what it leaves out.
#include <gtest/gtest.h>

namespace {

TEST(Desktop, GeometryOnAnXServer) {
  GTEST_SKIP() << "the X server is the other system's; tests/windows has monitors and windows";
}

TEST(HostServices, OfTheOtherSystem) {
  GTEST_SKIP() << "these are the other system's services; tests/windows has those of Windows";
}

}  // namespace
