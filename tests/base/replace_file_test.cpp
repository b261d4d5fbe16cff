#include "base/replace_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

#include "../temp_files.h"
#include "../unprivileged.h"
#include "base/errors.h"
#include "base/output_set.h"

namespace quern {
namespace {

namespace fs = std::filesystem;

void writeText(const fs::path& path, const std::string& text, mode_t mode) {
  std::ofstream(path, std::ios::binary) << text;
  ::chmod(path.c_str(), mode);
}
mode_t modeOf(const fs::path& p) {
  struct stat st {};
  ::lstat(p.c_str(), &st);
  return st.st_mode;
}
ino_t inodeOf(const fs::path& p) {
  struct stat st {};
  ::stat(p.c_str(), &st);
  return st.st_ino;
}
// The reason of a refused write, or "" when it was written.
std::string attempt(const fs::path& path, const std::string& content) {
  try {
    replaceFile(path.string(), content);
  } catch (const FileError& e) {
    return e.what();
  }
  return "";
}

using testing::asUnprivileged;
using testing::readAll;
using Folder = testing::TempFolder;

TEST(ReplaceFile, WritesWhatTheNameMeansAndKeepsLinksAndModes) {
  Folder f;
  writeText(f / "private.dxf", "old", 0600);
  writeText(f / "real.dxf", "old", 0640);
  fs::create_symlink("real.dxf", f / "link.dxf");
  fs::create_symlink("link.dxf", f / "link-to-link.dxf");
  fs::create_symlink("made-by-export.dxf", f / "dangling.dxf");
  writeText(f / "linked.dxf", "old", 0644);
  fs::create_hard_link(f / "linked.dxf", f / "other-name.dxf");
  struct Case {
    const char* name;
    const char* realFile;  // where the text must land
    mode_t mode;
    bool sameInode;  // written in place
  };
  const Case cases[] = {
      {"private.dxf", "private.dxf", 0600, false},   {"link.dxf", "real.dxf", 0640, false},
      {"link-to-link.dxf", "real.dxf", 0640, false}, {"dangling.dxf", "made-by-export.dxf", 0644, false},
      {"linked.dxf", "other-name.dxf", 0644, true},
  };
  ::umask(022);
  for (const Case& c : cases) {
    const ino_t before = inodeOf(f / c.realFile);
    const std::string text = std::string("drawing for ") + c.name;
    ASSERT_EQ(attempt(f / c.name, text), "") << c.name;
    EXPECT_EQ(readAll(f / c.realFile), text) << c.name;
    EXPECT_EQ(modeOf(f / c.realFile) & 07777, c.mode) << c.name;
    EXPECT_TRUE(S_ISREG(modeOf(f / c.realFile))) << c.name;
    if (c.sameInode) {
      EXPECT_EQ(inodeOf(f / c.realFile), before) << c.name;
    }
  }
  for (const char* link : {"link.dxf", "link-to-link.dxf", "dangling.dxf"}) EXPECT_TRUE(fs::is_symlink(f / link));
  EXPECT_EQ(readAll(f / "linked.dxf"), "drawing for linked.dxf") << "the hard link is kept";
  EXPECT_EQ(f.entries(), 8) << "nothing is left beside the targets";
}

TEST(ReplaceFile, TargetsThatAreNoRegularFileAreWrittenDirectlyOrRefused) {
  Folder f;
  fs::create_directory(f / "folder.dxf");
  ASSERT_EQ(::mkfifo((f / "fifo.dxf").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo((f / "read-fifo.dxf").c_str(), 0600), 0);
  const int reader = ::open((f / "read-fifo.dxf").c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);

  EXPECT_NE(attempt(f / "folder.dxf", "x").find("it is a folder, not a file"), std::string::npos);
  EXPECT_NE(attempt(f / "fifo.dxf", "x").find("a fifo that no program is reading from"), std::string::npos);
  EXPECT_EQ(attempt(f / "read-fifo.dxf", "through the pipe"), "");
  char got[64] = {};
  EXPECT_EQ(::read(reader, got, sizeof got), 16);
  EXPECT_STREQ(got, "through the pipe");
  ::close(reader);
  EXPECT_EQ(attempt("/dev/null", "nothing"), "");
  EXPECT_NE(attempt("/dev/full", "x").find("No space left on device"), std::string::npos);

  EXPECT_TRUE(fs::is_directory(f / "folder.dxf"));
  EXPECT_TRUE(fs::is_fifo(f / "fifo.dxf"));
  EXPECT_TRUE(fs::is_fifo(f / "read-fifo.dxf"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_EQ(f.entries(), 3);
}

// Permissions and a full disk, as a user whom permission bits bind; a file
// size limit stands in for the full disk.
TEST(ReplaceFile, WithoutPermissionOrSpaceTheOldFileStaysAsItWas) {
  Folder f;
  fs::create_directory(f / "closed");
  writeText(f / "closed" / "writable.dxf", "old drawing", 0666);
  writeText(f / "closed" / "readonly.dxf", "old drawing", 0444);
  writeText(f / "full.dxf", "old drawing", 0666);
  writeText(f / "full-linked.dxf", "old drawing", 0666);
  fs::create_hard_link(f / "full-linked.dxf", f / "full-other.dxf");
  ::chmod((f / "closed").c_str(), 0555);
  // Owned by the user who writes it, so that the new file can keep the owner.
  if (::geteuid() == 0 && ::chown((f / "full.dxf").c_str(), 65534, 65534) != 0) FAIL();
  const std::string big(64 * 1024, 'x');

  const std::string problems = asUnprivileged([&]() -> std::string {
    std::string out;
    auto expect = [&out](bool ok, const std::string& what) {
      if (!ok) out += what + "; ";
    };
    // No new file can be made beside it, but the file itself may be written.
    expect(attempt(f / "closed" / "writable.dxf", "new drawing").empty(), "in-place write refused");
    expect(readAll(f / "closed" / "writable.dxf") == "new drawing", "in-place text");
    expect(attempt(f / "closed" / "readonly.dxf", "x").find("Permission denied") != std::string::npos,
           "read-only message");
    expect(attempt(f / "closed" / "new.dxf", "x").find("Permission denied") != std::string::npos, "new file message");
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1024, 1024};
    ::setrlimit(RLIMIT_FSIZE, &small);
    expect(attempt(f / "full.dxf", big).find("File too large") != std::string::npos, "full disk message");
    expect(attempt(f / "full-linked.dxf", big).find("File too large") != std::string::npos, "in-place full disk");
    return out;
  });
  ::chmod((f / "closed").c_str(), 0777);
  EXPECT_EQ(problems, "");
  EXPECT_EQ(readAll(f / "closed" / "readonly.dxf"), "old drawing");
  EXPECT_EQ(modeOf(f / "closed" / "readonly.dxf") & 07777, 0444U);
  EXPECT_EQ(readAll(f / "full.dxf"), "old drawing");
  EXPECT_EQ(readAll(f / "full-other.dxf"), "old drawing");
  EXPECT_EQ(modeOf(f / "full.dxf") & 07777, 0666U);
  EXPECT_EQ(f.entries(), 4) << "no half-written file is left beside the targets";
}

}  // namespace
}  // namespace quern

namespace quern {
namespace {

// Folders wait for the end of the batch, each once however many drawings
// went into it; outside a batch nothing waits.
TEST(OutputSet, ABatchSyncsEachFolderOnceAtItsEnd) {
  testing::TempFolder a;
  testing::TempFolder b;
  FolderSyncs syncs;
  OutputSet::Options options;
  options.folderSyncs = &syncs;
  for (const auto& [folder, name] : {std::pair{&a, "one.dxf"}, {&a, "two.dxf"}, {&b, "three.dxf"}}) {
    OutputSet set(options);
    set.add(folder->file(name), name);
    set.commit();
  }
  replaceFile(a.file("alone.dxf"), "x");
  EXPECT_EQ(syncs.pending(), 2U);
  EXPECT_EQ(testing::readAll(a / "two.dxf"), "two.dxf");
}

}  // namespace
}  // namespace quern
