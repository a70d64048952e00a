// A log whose file takes no more.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "support/logger.h"
#include "tests/unit/support/child_process.h"
#include "tests/unit/support/log_capture.h"
#include "tests/unit/support/stdout_capture.h"
#include "tests/unit/support/temp_folder.h"

namespace kavrin {
namespace {

void limitFiles(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

TEST(FullDisk, WriteErrorsAreIgnoredAndLaterRecordsArrive) {
  EXPECT_TRUE(testing::inChild([] {
    const testing::TempFolder folder;
    Logger logger;
    logger.open(folder.path().c_str());
    logger.write(kLogInfo, 1, "f", "before");
    const auto file = *std::filesystem::directory_iterator(folder.path());
    testing::StdoutCapture::instance().take();
    limitFiles(file.file_size());
    for (int i = 0; i < 1000; ++i) logger.write(kLogInfo, 1, "f", "lost record %d", i);
    limitFiles(RLIM_INFINITY);
    logger.write(kLogInfo, 1, "f", "after");
    const auto records = testing::parseLog(testing::readFile(file.path()));
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.front().message, "before");
    EXPECT_EQ(records.back().message, "after");
    EXPECT_LT(records.size(), 1000u);
    EXPECT_TRUE(logger.isOpen());
  }));
}

}  // namespace
}  // namespace kavrin
