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

// The system's own devices, which a non-root run can use too.
TEST(ReplaceFile, WritesIntoDevicesDirectly) {
  EXPECT_EQ(attempt("/dev/null", "nothing"), "");
  EXPECT_NE(attempt("/dev/full", "x").find("No space left on device"), std::string::npos);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
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
  // Files that wait for the end go in place now; their folder's file system
  // is then synced as a whole, once.
  for (const char* name : {"one.bmp", "two.bmp"}) {
    OutputSet set(options);
    set.add(a.file(name), name, OutputSet::Sync::atEnd);
    set.commit();
  }
  EXPECT_EQ(syncs.pending(), 3U);
  EXPECT_EQ(testing::readAll(a / "two.bmp"), "two.bmp");
  // With nothing to wait with, such a file is synced at once like any other.
  OutputSet alone;
  alone.add(b.file("alone.bmp"), "now", OutputSet::Sync::atEnd);
  alone.commit();
  EXPECT_EQ(testing::readAll(b / "alone.bmp"), "now");
  EXPECT_EQ(syncs.pending(), 3U);
}

}  // namespace
}  // namespace quern
