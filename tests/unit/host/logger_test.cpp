// Every test runs in a child of its own: a process has one log file, and opens it once.
#include "support/logger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "support/host_services.h"
#include "tests/unit/support/child_process.h"
#include "tests/unit/support/log_capture.h"
#include "tests/unit/support/pattern.h"
#include "tests/unit/support/stdout_capture.h"
#include "tests/unit/support/temp_folder.h"

namespace kavrin {
namespace {

namespace fs = std::filesystem;
using testing::inChild;
using testing::LogRecord;
using testing::parseLog;
using testing::Pattern;
using testing::readFile;
using testing::StdoutCapture;
using testing::TempFolder;

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) files.push_back(entry.path());
  return files;
}

class LoggerTest : public ::testing::Test {
 protected:
  // The log's text; there must be one file in the folder.
  std::string logText() const {
    const auto files = filesIn(folder.path());
    EXPECT_EQ(files.size(), 1u);
    return files.empty() ? "" : readFile(files[0]);
  }

  TempFolder folder;
  Logger logger;
};

TEST_F(LoggerTest, RecordsBeforeTheOpeningGoNowhere) {
  EXPECT_TRUE(inChild([&] {
    EXPECT_FALSE(logger.isOpen());
    StdoutCapture::instance().take();
    logger.write(kLogError, 1, "f", "lost %d", 1);
    logger.writeText(kLogError, 1, "f", "lost");
    EXPECT_EQ(StdoutCapture::instance().take(), "");
    EXPECT_TRUE(logger.open(folder.path().c_str()));
    EXPECT_TRUE(logger.isOpen());
    EXPECT_EQ(logText(), "");
  }));
}

TEST_F(LoggerTest, ARecordIsTimeThreadPlaceLevelAndMessage) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    logger.write(kLogDebug, 58, "KavrinNodeConferenceEngine::GetSDKVersion", "call %s %d", "x", 7);
    const Pattern format(
        "^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.(0|[1-9][0-9]{0,2}) \\[" +
        std::to_string(host::currentThreadId()) +
        "]\\[:KavrinNodeConferenceEngine::GetSDKVersion:58]\\[DEBUG]call x 7\n$");
    EXPECT_TRUE(format.isIn(logText())) << logText();
  }));
}

TEST_F(LoggerTest, TheTimeIsLocalAndNow) {
#if defined(_WIN32)
  GTEST_SKIP() << "a process has no time zone of its own there; tests/windows has the local time";
#else
  EXPECT_TRUE(inChild([&] {
    setenv("TZ", "XXX-5:30", 1);
    tzset();
    logger.open(folder.path().c_str());
    const std::time_t before = std::time(nullptr);
    logger.write(kLogInfo, 1, "f", "m");
    std::tm read{};
    const std::string time = parseLog(logText()).at(0).time;
    ASSERT_NE(strptime(time.c_str(), "%Y-%m-%d %H:%M:%S", &read), nullptr);
    EXPECT_LE(std::abs(static_cast<long>(std::mktime(&read) - before)), 1);
    EXPECT_EQ(timegm(&read) - std::mktime(&read), 5 * 3600 + 30 * 60);
  }));
#endif
}

TEST_F(LoggerTest, MillisecondsAreNotPadded) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    // Within a second there are times below 100 ms.
    const Pattern padded("\\.0[0-9]");
    for (int i = 0; i < 1100; ++i) {
      logger.write(kLogInfo, 1, "f", "m");
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    bool shortSeen = false;
    for (const LogRecord& record : parseLog(logText())) {
      EXPECT_FALSE(padded.isIn(record.time)) << record.time;
      if (record.time.size() - record.time.find('.') < 4) shortSeen = true;
    }
    EXPECT_TRUE(shortSeen);
  }));
}

TEST_F(LoggerTest, LevelsHaveTheirTextsAndUnknownOnesNone) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    for (const int level : {0, 1, 2, 3, 4, 99}) logger.write(level, 1, "f", "m");
    std::string levels;
    for (const LogRecord& record : parseLog(logText())) levels += record.level + ",";
    EXPECT_EQ(levels, "DEBUG,INFO,WARNING,ERROR,,,");
  }));
}

TEST_F(LoggerTest, RecordsBelowTheLeastLevelAreDropped) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    EXPECT_EQ(logger.minLevel, 0);
    logger.write(-1, 1, "f", "negative");
    logger.minLevel = kLogWarning;
    logger.write(kLogInfo, 1, "f", "info");
    logger.write(kLogWarning, 1, "f", "warning");
    const auto records = parseLog(logText());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, "warning");
  }));
}

TEST_F(LoggerTest, BodiesAloneGoToStandardOutput) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    EXPECT_FALSE(logger.echoToConsole);
    StdoutCapture::instance().take();
    logger.write(kLogInfo, 1, "f", "one %d", 1);
    logger.writeText(kLogError, 1, "f", "two");
    EXPECT_EQ(StdoutCapture::instance().take(), "one 1two");
  }));
}

TEST_F(LoggerTest, WithEchoTheWholeRecordGoesToStandardOutput) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    logger.echoToConsole = true;
    StdoutCapture::instance().take();
    logger.write(kLogInfo, 1, "f", "one");
    logger.write(kLogInfo, 1, "f", "two");
    EXPECT_EQ(StdoutCapture::instance().take(), logText());
  }));
}

TEST_F(LoggerTest, TheFileIsFlushedAfterEveryRecord) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    for (std::size_t i = 1; i <= 3; ++i) {
      logger.write(kLogInfo, 1, "f", "m");
      EXPECT_EQ(parseLog(logText()).size(), i);
    }
  }));
}

TEST_F(LoggerTest, LongMessagesAndTextsOfScriptArriveWhole) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    const std::string longText(1'000'000, 'x');
    logger.writeText(kLogInfo, 1, "f", longText);
    logger.writeText(kLogInfo, 1, "f", "100 %s %n %d");
    const auto records = parseLog(logText());
    EXPECT_EQ(records.at(0).message, longText);
    EXPECT_EQ(records.at(1).message, "100 %s %n %d");
  }));
}

TEST_F(LoggerTest, TheFileIsNamedByTheTimeOfDayWithoutADate) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    const Pattern name(
        "^KVNodeExt_([01][0-9]|2[0-3])[0-5][0-9][0-5][0-9]\\.(0|[1-9][0-9]{0,2})\\.log$");
    const std::string file = filesIn(folder.path()).at(0).filename().string();
    EXPECT_TRUE(name.isIn(file)) << file;
  }));
}

TEST_F(LoggerTest, OpeningTwiceKeepsTheFirstFile) {
  EXPECT_TRUE(inChild([&] {
    EXPECT_TRUE(logger.open((folder / "a").c_str()));
    EXPECT_FALSE(logger.open((folder / "b").c_str()));
    EXPECT_FALSE(logger.open(nullptr));
    EXPECT_FALSE(fs::exists(folder / "b"));
    logger.write(kLogInfo, 1, "f", "m");
    EXPECT_EQ(readFile(filesIn(folder / "a").at(0)).empty(), false);
  }));
}

TEST_F(LoggerTest, AllLoggersOfAProcessShareTheFile) {
  EXPECT_TRUE(inChild([&] {
    Logger other;
    EXPECT_TRUE(logger.open(folder.path().c_str()));
    EXPECT_FALSE(other.open(folder.path().c_str()));
    other.write(kLogInfo, 1, "f", "from the other");
    EXPECT_EQ(parseLog(logText()).at(0).message, "from the other");
  }));
}

TEST_F(LoggerTest, AFolderIsCreatedOneLevelDeep) {
  EXPECT_TRUE(inChild([&] {
    EXPECT_TRUE(logger.open((folder / "a/b").c_str()));  // tried, in vain
    EXPECT_FALSE(logger.isOpen());
    EXPECT_FALSE(fs::exists(folder / "a"));
    logger.write(kLogError, 1, "f", "dropped");
    EXPECT_TRUE(logger.open((folder / "a").c_str()));  // a failed opening is tried again
    EXPECT_TRUE(logger.isOpen());
    EXPECT_EQ(filesIn(folder / "a").size(), 1u);
    EXPECT_FALSE(logger.open((folder / "a").c_str()));
  }));
}

// Windows takes no folder of 264 bytes from these calls: its own limit is shorter.
#if defined(_WIN32)
constexpr bool kTakesLongFolders = false;
#else
constexpr bool kTakesLongFolders = true;
#endif

TEST_F(LoggerTest, FoldersAreCutAt264Bytes) {
  if (!kTakesLongFolders) GTEST_SKIP() << "Windows takes no folder of 264 bytes";
  EXPECT_TRUE(inChild([&] {
    // Two levels, since a single name is limited as well.
    const std::string parent = folder / std::string(200, 'p');
    fs::create_directory(parent);
    const std::string whole = parent + "/" + std::string(120, 'n');
    ASSERT_GT(whole.size(), 264u);
    EXPECT_TRUE(logger.open(whole.c_str()));
    EXPECT_TRUE(logger.isOpen());
    EXPECT_FALSE(fs::exists(whole));
    EXPECT_EQ(filesIn(whole.substr(0, 264)).size(), 1u);
  }));
}

TEST_F(LoggerTest, AFolderOf264BytesIsUsedWhole) {
  if (!kTakesLongFolders) GTEST_SKIP() << "Windows takes no folder of 264 bytes";
  EXPECT_TRUE(inChild([&] {
    const std::string parent = folder / std::string(200, 'p');
    fs::create_directory(parent);
    const std::string whole = parent + "/" + std::string(264 - parent.size() - 1, 'n');
    ASSERT_EQ(whole.size(), 264u);
    EXPECT_TRUE(logger.open(whole.c_str()));
    EXPECT_EQ(filesIn(whole).size(), 1u);
  }));
}

TEST_F(LoggerTest, WithoutAFolderTheDefaultOneIsUsed) {
#if defined(_WIN32)
  EXPECT_TRUE(inChild([&] {
    const fs::path place = fs::path(host::defaultAppFolder()) / "KavrinConferenceNodeExt";
    fs::remove_all(place);
    EXPECT_TRUE(logger.open(nullptr));
    EXPECT_TRUE(logger.isOpen());
    EXPECT_EQ(filesIn(place).size(), 1u);
  }));
#else
  EXPECT_TRUE(inChild([&] {
    setenv("HOME", folder.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    fs::create_directory(folder / "Documents");
    EXPECT_TRUE(logger.open(nullptr));
    EXPECT_TRUE(logger.isOpen());
    const std::string place =
        folder / ("Documents/" + host::executableName() + "/KavrinConferenceNodeExt");
    EXPECT_EQ(filesIn(place).size(), 1u);
  }));
#endif
}

TEST_F(LoggerTest, TwoThreadsMayOpenAtOnce) {
  EXPECT_TRUE(inChild([&] {
    std::atomic<int> opened{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        Logger own;
        if (own.open(folder.path().c_str())) ++opened;
        own.write(kLogInfo, 1, "f", "m");
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(opened, 1);
  }));
}

TEST_F(LoggerTest, RecordsOfManyThreadsAllArrive) {
  EXPECT_TRUE(inChild([&] {
    logger.open(folder.path().c_str());
    constexpr int kThreads = 4;
    constexpr int kRecords = 250;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        for (int r = 0; r < kRecords; ++r) logger.write(kLogInfo, 1, "f", "<%d>", r);
      });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string text = logText();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), kThreads * kRecords);
    EXPECT_EQ(std::count(text.begin(), text.end(), '>'), kThreads * kRecords);
  }));
}

TEST(FormatWithoutArguments, ReadsNoArguments) {
  const std::pair<const char*, const char*> rows[] = {
      {"plain", "plain"},        {"", ""},    {"100%%", "100%"},
      {"a%sb%db%5.2fc", "abbc"}, {"%n", ""},  {"%lld|%zu|%hhx|%p|%c", "||||"},
      {"%-+ #08.3ld.", "."},     {"%*d", ""}, {"%1$s", ""},
      {"50% of", "50f"},  // "% o" is a conversion: octal with the flag blank
      {"50%y", "50%y"},   // no conversion at all
      {"%%%s%%", "%%"},          {"%m", ""},
  };
  for (const auto& [format, expected] : rows) {
    EXPECT_EQ(formatWithoutArguments(format), expected) << format;
  }
}

TEST(FormatWithoutArguments, AConversionThatIsCutOffPrintsNothing) {
  EXPECT_EQ(formatWithoutArguments("end %"), "end ");
  EXPECT_EQ(formatWithoutArguments("end %l"), "end ");
  EXPECT_EQ(formatWithoutArguments("end %-08"), "end ");
}

TEST(FormatWithoutArguments, KeepsBytesBeyondAscii) {
  EXPECT_EQ(formatWithoutArguments("\xE4\xB8\xAD%s\xFF"), "\xE4\xB8\xAD\xFF");
}

}  // namespace
}  // namespace kavrin
