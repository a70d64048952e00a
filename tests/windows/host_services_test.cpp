// The host services on Windows, against what independent system calls tell.
#include "support/host_services.h"

#include <gtest/gtest.h>
#include <windows.h>
// Needs the header above first.
#include <shlobj.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>

namespace kavrin::host {
namespace {

namespace fs = std::filesystem;

std::string preferred(const char* path) { return fs::absolute(path).make_preferred().string(); }

// A folder of the test's own that goes away with it.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_(fs::temp_directory_path() / unique()) { fs::create_directory(path_); }
  ~TemporaryFolder() { fs::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string text() const { return path_.string(); }

 private:
  static std::string unique() {
    return "kavrin-" + std::to_string(GetCurrentProcessId()) + "-" +
           std::to_string(GetTickCount64());
  }
  fs::path path_;
};

std::string queried(const std::string& path) {
  char buffer[260] = {};
  queryFileVersion(path, buffer, sizeof buffer);
  return buffer;
}

TEST(FileVersion, OfALibraryWithAVersionResource) {
  EXPECT_EQ(fileVersion(preferred(KAVRIN_VERSIONED_LIBRARY)), (FileVersion{65535, 10, 0, 7}));
  EXPECT_EQ(queried(preferred(KAVRIN_VERSIONED_LIBRARY)), "65535.10.0.7");
}

TEST(FileVersion, ALibraryWithoutAVersionResourceYieldsAnEmptyText) {
  EXPECT_EQ(fileVersion(preferred(KAVRIN_UNVERSIONED_LIBRARY)), std::nullopt);
  EXPECT_EQ(queried(preferred(KAVRIN_UNVERSIONED_LIBRARY)), "");
}

TEST(FileVersion, OfNoFile) {
  EXPECT_EQ(fileVersion("C:\\missing.dll"), std::nullopt);
  EXPECT_EQ(fileVersion(""), std::nullopt);
  EXPECT_EQ(fileVersion(std::string(10000, 'x')), std::nullopt);
  EXPECT_EQ(queried("C:\\missing.dll"), "");
}

TEST(FileVersion, AShortBufferIsNotOverrun) {
  char buffer[8] = "-------";
  queryFileVersion(preferred(KAVRIN_VERSIONED_LIBRARY), buffer, 6);
  EXPECT_STREQ(buffer, "65535");
  EXPECT_EQ(buffer[6], '-');
}

TEST(Paths, AreJoinedWithABackslash) {
  EXPECT_EQ(kPathSeparator, '\\');
  EXPECT_EQ(joinPath("C:\\a", "b"), "C:\\a\\b");
}

TEST(Paths, ComponentsAreLibrariesByName) {
  EXPECT_EQ(componentFileName("KavrinRTCEngine"), "KavrinRTCEngine.dll");
}

TEST(Paths, TheExecutableIsThisProgram) {
  EXPECT_EQ(executableName(), "host_services_test");
  EXPECT_TRUE(pathExists(executablePath()));
}

TEST(Paths, TheDocumentsFolderIsTheShells) {
  PWSTR told = nullptr;
  ASSERT_EQ(SHGetKnownFolderPath(FOLDERID_Documents, 0, nullptr, &told), S_OK);
  const fs::path expected(told);
  CoTaskMemFree(told);
  EXPECT_EQ(fs::path(documentsFolder()), expected);
  EXPECT_NE(documentsFolder().back(), '\\');
}

TEST(Paths, TheDefaultFolderIsNamedAfterTheProgramAndCreated) {
  const std::string folder = defaultAppFolder();
  EXPECT_EQ(folder, documentsFolder() + "\\host_services_test");
  EXPECT_TRUE(fs::is_directory(folder));
  fs::remove(folder);
}

TEST(Folders, AreCreatedOneLevelDeep) {
  const TemporaryFolder temporary;
  createFolder(temporary.text() + "\\one");
  EXPECT_TRUE(fs::is_directory(temporary.text() + "\\one"));
  createFolder(temporary.text() + "\\missing\\two");
  EXPECT_FALSE(pathExists(temporary.text() + "\\missing"));
}

TEST(Folders, FailuresAreIgnored) {
  const TemporaryFolder temporary;
  createFolder(temporary.text());
  createFolder("");
  createFolder("Q:\\no drive");
  EXPECT_TRUE(pathExists(temporary.text()));
  EXPECT_FALSE(pathExists("Q:\\no drive"));
}

TEST(Folders, TheUsersLogFolderIsNamedByTagAndUser) {
  const TemporaryFolder temporary;
  EXPECT_EQ(makeUserLogFolder(temporary.text(), "tag", "me"), temporary.text() + "\\tag_me");
  EXPECT_TRUE(fs::is_directory(temporary.text() + "\\tag_me"));
}

// KAVRIN_CODE_PAGE gives the code page where the test's process has been given one.
class CodePage : public testing::Test {
 protected:
  void SetUp() override {
    const char* expected = std::getenv("KAVRIN_CODE_PAGE");
    if (expected == nullptr) GTEST_SKIP() << "runs again with each code page";
    ASSERT_EQ(std::to_string(GetACP()), expected);
  }
  static bool isChinese() { return GetACP() == 936; }
};

constexpr char kMeetingUtf8[] = "\xE4\xBC\x9A\xE8\xAE\xAE";
constexpr char kMeetingChinese[] = "\xBB\xE1\xD2\xE9";

TEST_F(CodePage, ConvertsOnlyToTheChineseOne) {
  EXPECT_EQ(toLocalCodePage(kMeetingUtf8), isChinese() ? kMeetingChinese : kMeetingUtf8);
}

TEST_F(CodePage, LeavesAsciiAlone) {
  const std::string path = "C:\\Users\\me\\logs";
  EXPECT_EQ(toLocalCodePage(path), path);
  EXPECT_EQ(toLocalCodePage(""), "");
}

TEST_F(CodePage, ConvertsLongTextsWhole) {
  std::string utf8;
  std::string chinese;
  for (int i = 0; i < 5000; ++i) {
    utf8 += kMeetingUtf8;
    chinese += kMeetingChinese;
  }
  EXPECT_EQ(toLocalCodePage(utf8), isChinese() ? chinese : utf8);
}

TEST_F(CodePage, WhatIsNoUtf8EndsNothing) {
  for (const char* text : {"\xFF\xFE", "\xE4\xBC", "a\x80z"}) {
    const std::string converted = toLocalCodePage(text);
    if (!isChinese()) {
      EXPECT_EQ(converted, text);
    }
  }
}

TEST_F(CodePage, AConvertedPathNamesTheFolder) {
  const TemporaryFolder temporary;
  createFolder(temporary.text() + "\\" + toLocalCodePage(kMeetingUtf8));
  const fs::path wide = fs::path(temporary.text()) / L"\u4f1a\u8bae";
  EXPECT_EQ(fs::exists(wide), isChinese());
}

TEST(Thread, TheNumberIsTheSystems) { EXPECT_EQ(currentThreadId(), GetCurrentThreadId()); }

TEST(Time, IsLocalAndCurrent) {
  const LocalTime told = localTime();
  std::tm calendar = told.calendar;
  calendar.tm_isdst = -1;
  EXPECT_LE(std::abs(std::difftime(std::mktime(&calendar), std::time(nullptr))), 2);
  EXPECT_GE(told.milliseconds, 0);
  EXPECT_LE(told.milliseconds, 999);
}

// KAVRIN_MONITORS gives the number of monitors where it is known.
TEST(Monitors, AreNamedAsDisplayDevicesAre) {
  const auto found = monitors();
  const char* expected = std::getenv("KAVRIN_MONITORS");
  if (expected != nullptr) {
    EXPECT_EQ(std::to_string(found.size()), expected);
  }
  EXPECT_EQ(found.size(), static_cast<std::size_t>(GetSystemMetrics(SM_CMONITORS)));
  ASSERT_TRUE(found.contains("\\\\.\\DISPLAY1"));
  const Rectangle first = found.at("\\\\.\\DISPLAY1");
  EXPECT_EQ(first.right - first.left, GetSystemMetrics(SM_CXSCREEN));
  EXPECT_EQ(first.bottom - first.top, GetSystemMetrics(SM_CYSCREEN));
}

class Window : public testing::Test {
 protected:
  static constexpr DWORD kStyle = WS_POPUP | WS_VISIBLE | WS_MINIMIZEBOX;
  void TearDown() override { DestroyWindow(window_); }
  Rectangle told() const {
    return windowRectangle(static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(window_)));
  }
  HWND window_ =
      CreateWindowA("STATIC", "w", kStyle, 10, 20, 300, 200, nullptr, nullptr, nullptr, nullptr);
};

TEST_F(Window, IsWhereItWasPut) {
  ASSERT_NE(window_, nullptr) << GetLastError();
  const Rectangle place = told();
  EXPECT_EQ(place.left, 10);
  EXPECT_EQ(place.top, 20);
  EXPECT_EQ(place.right, 310);
  EXPECT_EQ(place.bottom, 220);
}

TEST_F(Window, MinimisedHasNoWidth) {
  ASSERT_NE(window_, nullptr);
  ShowWindow(window_, SW_MINIMIZE);
  EXPECT_EQ(told().right, told().left);
}

TEST_F(Window, GoneHasNoWidth) {
  ASSERT_NE(window_, nullptr);
  DestroyWindow(window_);
  EXPECT_EQ(told().right, told().left);
}

TEST(NoWindow, HasNoWidth) {
  for (const std::int32_t handle : {0, -1, 12345678}) {
    const Rectangle place = windowRectangle(handle);
    EXPECT_EQ(place.right, place.left) << handle;
  }
}

}  // namespace
}  // namespace kavrin::host
