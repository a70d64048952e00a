// Host services; what depends on environment variables runs in a child of its own.
#include "support/host_services.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "tests/unit/support/child_process.h"
#include "tests/unit/support/temp_folder.h"

namespace kavrin::host {
namespace {

namespace fs = std::filesystem;
using testing::inChild;
using testing::TempFolder;
using testing::writeFile;

// The documents folder with this text in user-dirs.dirs.
void expectDocuments(const std::string& userFolders, const std::string& expected) {
  const TempFolder home;
  const std::string expanded =
      expected.substr(0, 5) == "$HOME" ? home.path() + expected.substr(5) : expected;
  EXPECT_TRUE(inChild([&] {
    setenv("HOME", home.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    fs::create_directory(home / ".config");
    writeFile(home / ".config/user-dirs.dirs", userFolders);
    EXPECT_EQ(documentsFolder(), expanded);
  })) << userFolders;
}

TEST(DocumentsFolder, ComesFromTheUserFolders) {
  expectDocuments("XDG_DOCUMENTS_DIR=\"$HOME/Papiere\"\n", "$HOME/Papiere");
  expectDocuments("XDG_DOCUMENTS_DIR=\"/data/docs\"\n", "/data/docs");
  expectDocuments("  \tXDG_DOCUMENTS_DIR=\"$HOME/With Blank\"  \r\n", "$HOME/With Blank");
  expectDocuments("XDG_DOCUMENTS_DIR=\"$HOME/Trailing//\"\n", "$HOME/Trailing");
  expectDocuments("XDG_DOCUMENTS_DIR=\"$HOME/No end of line\"", "$HOME/No end of line");
  expectDocuments("XDG_DOCUMENTS_DIR=\"$HOME\"\n", "$HOME");
  expectDocuments("# comment\nXDG_DESKTOP_DIR=\"$HOME/D\"\nXDG_DOCUMENTS_DIR=\"$HOME/A\"\n",
                  "$HOME/A");
  // A shell reads the file, so the last assignment counts.
  expectDocuments("XDG_DOCUMENTS_DIR=\"$HOME/A\"\nXDG_DOCUMENTS_DIR=\"$HOME/B\"\n", "$HOME/B");
}

TEST(DocumentsFolder, FallsBackOnDocumentsInTheHomeFolder) {
  const std::string fallback = "$HOME/Documents";
  expectDocuments("", fallback);
  expectDocuments("XDG_DOCUMENTS_DIR=", fallback);
  expectDocuments("XDG_DOCUMENTS_DIR=\"\"\n", fallback);
  expectDocuments("XDG_DOCUMENTS_DIR=\"relative/path\"\n", fallback);
  expectDocuments("XDG_DOCUMENTS_DIR=unquoted\n", fallback);
  expectDocuments("#XDG_DOCUMENTS_DIR=\"$HOME/Commented\"\n", fallback);
  expectDocuments("XDG_DOCUMENTS_DIRECTORY=\"/x\"\n", fallback);
  expectDocuments(std::string("\0\xFF\n", 3), fallback);
}

TEST(DocumentsFolder, TheConfigurationFolderMayBeElsewhere) {
  const TempFolder home;
  const TempFolder configuration;
  EXPECT_TRUE(inChild([&] {
    setenv("HOME", home.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", configuration.path().c_str(), 1);
    writeFile(configuration / "user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Elsewhere\"\n");
    EXPECT_EQ(documentsFolder(), home / "Elsewhere");
  }));
}

TEST(DocumentsFolder, WithoutAFileItIsDocuments) {
  const TempFolder home;
  EXPECT_TRUE(inChild([&] {
    setenv("HOME", home.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(documentsFolder(), home / "Documents");
  }));
}

TEST(DocumentsFolder, WithoutAHomeVariableTheUserDatabaseTells) {
  EXPECT_TRUE(inChild([] {
    unsetenv("HOME");
    setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
    const passwd* entry = getpwuid(getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(documentsFolder(), std::string(entry->pw_dir) + "/Documents");
  }));
}

TEST(Executable, NameIsWithoutFolderAndExtension) {
  EXPECT_EQ(executablePath(), fs::read_symlink("/proc/self/exe").string());
  EXPECT_EQ(executableName(), fs::read_symlink("/proc/self/exe").stem().string());
}

TEST(Executable, NameOfAFileWithAnExtension) {
  const TempFolder folder;
  fs::copy_file("/proc/self/exe", folder / "app.exe");
  EXPECT_TRUE(inChild([&] {
    setenv("KAVRIN_EXPECTED_EXECUTABLE", "app", 1);
    execl((folder / "app.exe").c_str(), "app.exe",
          "--gtest_filter=Executable.DISABLED_IsNamedAsExpected", "--gtest_also_run_disabled_tests",
          static_cast<char*>(nullptr));
    FAIL() << "the copy cannot be run";
  }));
}

// Run by the test above, in a copy of this program.
TEST(Executable, DISABLED_IsNamedAsExpected) {
  EXPECT_EQ(executableName(), std::getenv("KAVRIN_EXPECTED_EXECUTABLE"));
}

class FileVersionTest : public ::testing::Test {
 protected:
  std::string versionOf(const std::string& name) {
    char buffer[64] = "unchanged";
    queryFileVersion(folder / name, buffer, sizeof buffer);
    return buffer;
  }

  TempFolder folder;
};

TEST_F(FileVersionTest, IsThatOfTheRealName) {
  writeFile(folder / "libKavrinRTCEngine.so.1.22.333.4444", "x");
  fs::create_symlink("libKavrinRTCEngine.so.1.22.333.4444", folder / "libKavrinRTCEngine.so.1");
  fs::create_symlink("libKavrinRTCEngine.so.1", folder / "libKavrinRTCEngine.so");
  EXPECT_EQ(versionOf("libKavrinRTCEngine.so"), "1.22.333.4444");
  EXPECT_EQ(versionOf("libKavrinRTCEngine.so.1.22.333.4444"), "1.22.333.4444");
  EXPECT_EQ(fileVersion(folder / "libKavrinRTCEngine.so"), (FileVersion{1, 22, 333, 4444}));
}

TEST_F(FileVersionTest, AFileWithoutOneLeavesTheBuffer) {
  writeFile(folder / "plain.so", "x");
  for (const char* name : {"a.so.1.2.3", "b.so.1.2.3.4.5", "c.so.1.2.3.x", "d.so.1.2.3.4-rc",
                           "e.so.", "f.so.-1.2.3.4", "g.so.1..3.4", "h.so.99999999999.0.0.0"}) {
    writeFile(folder / name, "x");
    EXPECT_EQ(versionOf(name), "unchanged") << name;
    EXPECT_EQ(fileVersion(folder / name), std::nullopt) << name;
  }
  EXPECT_EQ(versionOf("plain.so"), "unchanged");
  EXPECT_EQ(versionOf("missing.so"), "unchanged");
  EXPECT_EQ(versionOf(""), "unchanged");
}

TEST_F(FileVersionTest, IsBoundedByTheBuffer) {
  writeFile(folder / "l.so.11.22.33.44", "x");
  char buffer[6] = "zzzzz";
  queryFileVersion(folder / "l.so.11.22.33.44", buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "11.22");
}

TEST(ComponentFileName, IsASharedLibrary) {
  EXPECT_EQ(componentFileName("KavrinRoomClient"), "libKavrinRoomClient.so");
}

// --- The system's code page
// ------------------------------------------------------------------------

constexpr const char* kChinese = "\xE4\xB8\xAD/x";  // U+4E2D

// Compiles a locale "zh_CN.<charset>" into the folder; false when that cannot be done. All charsets
// get the characters of GBK, which is quick to compile: only the name of the charset matters.
bool makeLocale(const TempFolder& folder, const std::string& charset) {
  const std::string map = folder / (charset + ".map");
  const std::string locale = folder / ("zh_CN." + charset);
  const std::string command =
      "zcat /usr/share/i18n/charmaps/GBK.gz 2>/dev/null | sed "
      "'s/^<code_set_name>.*/<code_set_name> " +
      charset + "/' > '" + map + "' && localedef -c -f '" + map + "' -i POSIX '" + locale +
      "' >/dev/null 2>&1";
  return std::system(command.c_str()) == 0 || fs::exists(locale);
}

std::string convertedUnder(const TempFolder& folder, const std::string& locale,
                           const std::string& text) {
  const TempFolder answer;
  EXPECT_TRUE(inChild([&] {
    setenv("LOCPATH", folder.path().c_str(), 1);
    setenv("LC_ALL", locale.c_str(), 1);
    writeFile(answer / "text", toLocalCodePage(text));
  }));
  return testing::readFile(answer / "text");
}

class CodePageTest : public ::testing::TestWithParam<const char*> {};

TEST_P(CodePageTest, TextIsConvertedUnderAChineseCharset) {
  const TempFolder locales;
  if (!makeLocale(locales, GetParam())) GTEST_SKIP() << "no sources of locales are installed";
  const std::string locale = std::string("zh_CN.") + GetParam();
  EXPECT_EQ(convertedUnder(locales, locale, kChinese), "\xD6\xD0/x");
  EXPECT_EQ(convertedUnder(locales, locale, "plain"), "plain");
  EXPECT_EQ(convertedUnder(locales, locale, ""), "");
  // Long texts pass the converter's buffer many times.
  std::string text;
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    text += kChinese;
    expected += "\xD6\xD0/x";
  }
  EXPECT_EQ(convertedUnder(locales, locale, text), expected);
  // Bytes that are no text become question marks, and what follows is converted.
  EXPECT_EQ(convertedUnder(locales, locale, std::string("\xFF") + kChinese), "?\xD6\xD0/x");
  EXPECT_EQ(convertedUnder(locales, locale, "x\xE4"), "x?");
}

INSTANTIATE_TEST_SUITE_P(Charsets, CodePageTest, ::testing::Values("GBK", "GB18030"));

TEST(CodePage, TextIsUnchangedUnderAnyOtherCharset) {
  const TempFolder locales;
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "nonexistent", ""}) {
    EXPECT_EQ(convertedUnder(locales, locale, kChinese), kChinese) << locale;
    EXPECT_EQ(convertedUnder(locales, locale, "\xFF\xFE"), "\xFF\xFE") << locale;
  }
}

TEST(CodePage, TextIsUnchangedUnderTheOlderChineseCharset) {
  const TempFolder locales;
  if (!makeLocale(locales, "GB2312")) GTEST_SKIP() << "no sources of locales are installed";
  EXPECT_EQ(convertedUnder(locales, "zh_CN.GB2312", kChinese), kChinese);
}

// --- Folders
// -----------------------------------------------------------------------------------------

TEST(Folders, TheDefaultOneIsCreatedInTheDocuments) {
  const TempFolder home;
  EXPECT_TRUE(inChild([&] {
    setenv("HOME", home.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    const std::string expected = home / ("Documents/" + executableName());
    EXPECT_EQ(defaultAppFolder(), expected);
    EXPECT_FALSE(fs::exists(expected));  // one level only: there are no documents
    fs::create_directory(home / "Documents");
    EXPECT_EQ(defaultAppFolder(), expected);
    EXPECT_TRUE(fs::is_directory(expected));
    EXPECT_EQ(defaultAppFolder(), expected);
  }));
}

TEST(Folders, TheUsersLogFolder) {
  const TempFolder logs;
  EXPECT_EQ(makeUserLogFolder(logs.path(), "tag", "ann"), logs / "tag_ann");
  EXPECT_TRUE(fs::is_directory(logs / "tag_ann"));
  EXPECT_EQ(makeUserLogFolder(logs.path(), "", ""), logs / "_");
  EXPECT_TRUE(fs::is_directory(logs / "_"));
  EXPECT_EQ(makeUserLogFolder(logs / "missing", "t", "u"), logs / "missing/t_u");
  EXPECT_FALSE(fs::exists(logs / "missing"));
}

TEST(Folders, CreationIgnoresFailures) {
  const TempFolder folder;
  createFolder(folder.path());
  createFolder(folder / "a/b");
  createFolder("");
  EXPECT_FALSE(pathExists(folder / "a"));
  createFolder(folder / "a");
  EXPECT_TRUE(pathExists(folder / "a"));
  EXPECT_EQ(joinPath("a", "b"), "a/b");
  EXPECT_EQ(joinPath("a/", "b"), "a//b");
  EXPECT_EQ(kPathSeparator, '/');
}

// --- Threads, time, display
// ----------------------------------------------------------------------------

TEST(ThreadId, IsTheOneThatSystemToolsShow) {
  EXPECT_EQ(currentThreadId(), static_cast<std::uint64_t>(syscall(SYS_gettid)));
  std::uint64_t other = 0;
  std::uint64_t expected = 0;
  std::thread([&] {
    other = currentThreadId();
    expected = static_cast<std::uint64_t>(syscall(SYS_gettid));
  }).join();
  EXPECT_EQ(other, expected);
  EXPECT_NE(other, currentThreadId());
}

TEST(ThreadId, OfAForkedChildIsItsOwn) {
  currentThreadId();
  EXPECT_TRUE(inChild(
      [] { EXPECT_EQ(currentThreadId(), static_cast<std::uint64_t>(syscall(SYS_gettid))); }));
}

TEST(LocalTime, HasMillisecondsWithinTheSecond) {
  for (int i = 0; i < 1000; ++i) {
    const LocalTime now = localTime();
    ASSERT_GE(now.milliseconds, 0);
    ASSERT_LE(now.milliseconds, 999);
  }
}

TEST(Desktop, IsEmptyWithoutADisplay) {
  EXPECT_TRUE(inChild([] {
    unsetenv("DISPLAY");
    EXPECT_TRUE(monitors().empty());
    const Rectangle none = windowRectangle(1);
    EXPECT_EQ(none.right - none.left, 0);
    setenv("DISPLAY", ":987", 1);
    EXPECT_TRUE(monitors().empty());
    setenv("DISPLAY", "no display name", 1);
    EXPECT_TRUE(monitors().empty());
  }));
}

}  // namespace
}  // namespace kavrin::host
