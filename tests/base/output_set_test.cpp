#include "base/output_set.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>
#include <tuple>

#include "../temp_files.h"
#include "../unprivileged.h"
#include "base/errors.h"
#include "base/file_identity.h"
#include "base/replace_file.h"
#include "base/temp_registry.h"

namespace quern {
namespace {

namespace fs = std::filesystem;
using testing::asUnprivileged;
using testing::readAll;
using Folder = testing::TempFolder;

void writeText(const fs::path& path, const std::string& text, mode_t mode = 0644) {
  std::ofstream(path, std::ios::binary) << text;
  ::chmod(path.c_str(), mode);
}
struct stat statOf(const fs::path& p) {
  struct stat st {};
  ::stat(p.c_str(), &st);
  return st;
}
// The reason a set was refused (at add or at commit), or "" when written.
std::string writeSet(const std::vector<std::pair<fs::path, std::string>>& outputs, OutputSet::Options options = {}) {
  try {
    OutputSet set(options);
    for (const auto& [path, text] : outputs) set.add(path.string(), text);
    set.commit();
  } catch (const FileError& e) {
    return e.what();
  }
  return "";
}
// A character device in the test's own folder, as /dev/null (1, 3) or
// /dev/full (1, 7) are; only root may make one.
bool makeDevice(const fs::path& p, unsigned minor) {
  return ::mknod(p.c_str(), S_IFCHR | 0666, ::makedev(1, minor)) == 0;
}
constexpr OutputSet::Options kNamed{false};
constexpr OutputSet::Options kUnnamed{true};

TEST(OutputSet, EachKindOfTargetKeepsWhatItIs) {
  for (const OutputSet::Options options : {kNamed, kUnnamed}) {
    Folder f;
    ::umask(022);
    writeText(f / "private.dxf", "old", 0600);
    writeText(f / "real.svg", "old", 0640);
    fs::create_symlink("real.svg", f / "link.svg");
    writeText(f / "deep-real.svg", "old", 0640);
    fs::create_symlink("deep-real.svg", f / "mid.svg");
    fs::create_symlink("mid.svg", f / "link-to-link.svg");
    fs::create_symlink("made-by-export.svg", f / "dangling.svg");
    writeText(f / "linked.png", "old");
    fs::create_hard_link(f / "linked.png", f / "other-name.png");
    ASSERT_EQ(::mkfifo((f / "read.fifo").c_str(), 0600), 0);
    const int reader = ::open((f / "read.fifo").c_str(), O_RDONLY | O_NONBLOCK);
    const bool root = makeDevice(f / "null.dev", 3);
    // What is written, where it must land, its mode, and whether the file
    // that was there is the one written.
    struct Case {
      const char* name;
      const char* lands;
      mode_t mode;
      bool sameInode;
    };
    const Case cases[] = {
        {"private.dxf", "private.dxf", 0600, false},        {"link.svg", "real.svg", 0640, false},
        {"link-to-link.svg", "deep-real.svg", 0640, false}, {"dangling.svg", "made-by-export.svg", 0644, false},
        {"linked.png", "other-name.png", 0644, true},       {"new.html", "new.html", 0644, false},
    };
    std::vector<std::pair<fs::path, std::string>> outputs;
    for (const Case& c : cases) outputs.emplace_back(f / c.name, std::string("new ") + c.name);
    outputs.emplace_back(f / "read.fifo", "through the pipe");
    if (root) outputs.emplace_back(f / "null.dev", "into nothing");
    std::vector<ino_t> before;
    for (const Case& c : cases) before.push_back(statOf(f / c.lands).st_ino);

    ASSERT_EQ(writeSet(outputs, options), "");
    for (std::size_t i = 0; i < std::size(cases); ++i) {
      const Case& c = cases[i];
      EXPECT_EQ(readAll(f / c.lands), std::string("new ") + c.name) << c.name;
      EXPECT_EQ(statOf(f / c.lands).st_mode & 07777, c.mode) << c.name;
      if (c.sameInode) {
        EXPECT_EQ(statOf(f / c.lands).st_ino, before[i]) << c.name;
      }
    }
    char got[64] = {};
    EXPECT_EQ(::read(reader, got, sizeof got), 16);
    EXPECT_STREQ(got, "through the pipe");
    ::close(reader);
    for (const char* link : {"link.svg", "mid.svg", "link-to-link.svg", "dangling.svg"}) {
      EXPECT_TRUE(fs::is_symlink(f / link)) << link;
    }
    EXPECT_TRUE(fs::is_fifo(f / "read.fifo"));
    if (root) {
      EXPECT_TRUE(fs::is_character_file(f / "null.dev"));
    }
    EXPECT_EQ(readAll(f / "other-name.png"), "new linked.png");
    EXPECT_EQ(f.entries(), root ? 13 : 12) << "nothing is left beside the targets";
    EXPECT_EQ(registeredTemporaries(), 0);
  }
}

// Content given in pieces lands as one: more pieces than one call writes,
// some empty, into a new file, a file written in place and a fifo whose
// reader takes it a little at a time.
TEST(OutputSet, PiecesFollowEachOtherWhateverTheTarget) {
  std::string whole;
  std::vector<std::string> kept;
  for (int i = 0; i < 3000; ++i)
    kept.push_back(std::string(static_cast<std::size_t>(i % 97), static_cast<char>('a' + i % 26)));
  std::vector<std::string_view> pieces(kept.begin(), kept.end());
  for (const std::string_view piece : pieces) whole += piece;
  ASSERT_GT(whole.size(), 65536U) << "more than a pipe holds";
  Folder f;
  writeText(f / "linked.html", "old");
  fs::create_hard_link(f / "linked.html", f / "other-name.html");
  ASSERT_EQ(::mkfifo((f / "read.fifo").c_str(), 0600), 0);
  for (const OutputSet::Options options : {kNamed, kUnnamed}) {
    OutputSet set(options);
    set.add((f / "new.html").string(), pieces);
    set.add((f / "linked.html").string(), pieces);
    set.commit();
    EXPECT_EQ(readAll(f / "new.html"), whole);
    EXPECT_EQ(readAll(f / "other-name.html"), whole) << "written in place";
  }
  const int fd = ::open((f / "read.fifo").c_str(), O_RDONLY | O_NONBLOCK);
  std::string piped;
  std::optional<OutputSet> set(std::in_place);
  set->add((f / "read.fifo").string(), pieces);
  // Read once the writer is there, a block at a time, until it is gone.
  std::thread reader([&] {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    char buffer[4096];
    for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) > 0;) piped.append(buffer, static_cast<std::size_t>(n));
  });
  set->commit();
  set.reset();
  reader.join();
  ::close(fd);
  EXPECT_EQ(piped, whole);
}

// An output that grows a few pieces at a time, with its head written over
// at the end, lands as the pieces and the head would have as one; before the
// commit, and when the set is dropped, no target has changed.
TEST(OutputSet, AGrowingOutputLandsAsWrittenOrNotAtAll) {
  std::vector<std::string> kept;
  for (int i = 0; i < 2000; ++i)
    kept.push_back(std::string(static_cast<std::size_t>(i % 89), static_cast<char>('a' + i % 26)));
  std::string whole = "HEAD:??";
  for (const std::string& piece : kept) whole += piece;
  const auto growInto = [&](OutputSet::Growing out) {
    out.append(std::string_view("HEAD:??"));
    const std::vector<std::string_view> pieces(kept.begin(), kept.end());
    for (std::size_t i = 0; i < pieces.size(); i += 300) {
      out.append(std::span(pieces).subspan(i, std::min<std::size_t>(300, pieces.size() - i)));
    }
    out.overwrite(5, "ok");
    EXPECT_EQ(out.size(), whole.size());
    EXPECT_THROW(out.overwrite(whole.size() - 1, "past"), FileError);
  };
  whole.replace(5, 2, "ok");
  for (const OutputSet::Options options : {kNamed, kUnnamed}) {
    for (const bool commit : {false, true}) {
      Folder f;
      writeText(f / "linked.html", "old");
      fs::create_hard_link(f / "linked.html", f / "other-name.html");
      writeText(f / "old.html", "old", 0640);
      {
        OutputSet set(OutputSet::Options{options.unnamedTemporaries, nullptr});
        for (const char* name : {"new.html", "linked.html", "old.html"}) growInto(set.grow((f / name).string()));
        EXPECT_FALSE(fs::exists(f / "new.html"));
        EXPECT_EQ(readAll(f / "linked.html"), "old");
        if (commit) set.commit();
      }
      EXPECT_EQ(fs::exists(f / "new.html"), commit);
      if (commit) {
        EXPECT_EQ(readAll(f / "new.html"), whole);
      }
      EXPECT_EQ(readAll(f / "other-name.html"), commit ? whole : "old") << "written in place";
      EXPECT_EQ(readAll(f / "old.html"), commit ? whole : "old");
      EXPECT_EQ(statOf(f / "old.html").st_mode & 07777, 0640U);
      EXPECT_EQ(f.entries(), commit ? 4 : 3) << "nothing is left beside the targets";
      EXPECT_EQ(registeredTemporaries(), 0);
    }
  }
}

TEST(OutputSet, NamesOfOneFileClash) {
  Folder f;
  writeText(f / "in.gif", "picture");
  fs::create_hard_link(f / "in.gif", f / "hard.gif");
  fs::create_symlink("in.gif", f / "soft.gif");
  fs::create_directory(f / "sub");
  fs::create_symlink("sub", f / "via");
  const std::string dot = (f.path / "." / "in.gif").string();
  struct Case {
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    const char* clash;  // the second name of the clash, or "" for none
  };
  const Case cases[] = {
      {{f.file("in.gif")}, {f.file("out.dxf"), dot}, "in.gif"},
      {{f.file("hard.gif")}, {f.file("in.gif")}, "in.gif"},
      {{f.file("soft.gif")}, {f.file("out.dxf"), f.file("in.gif")}, "in.gif"},
      {{}, {f.file("sub/new.dxf"), f.file("via/new.dxf")}, "via/new.dxf"},
      {{}, {f.file("a.dxf"), f.file("a.svg"), f.file("a.DXF")}, ""},
      {{f.file("in.gif"), f.file("in.gif")}, {f.file("in.dxf")}, ""},
  };
  for (const Case& c : cases) {
    const auto clash = firstClash(c.inputs, c.outputs);
    if (*c.clash == '\0') {
      EXPECT_FALSE(clash) << clash->first << " / " << clash->second;
    } else {
      ASSERT_TRUE(clash) << c.clash;
      EXPECT_TRUE(clash->second.ends_with(c.clash)) << clash->second;
    }
  }
  // The set itself refuses a second name of one output, before anything is written.
  writeText(f / "old.dxf", "old");
  fs::create_symlink("old.dxf", f / "also.dxf");
  const std::string why = writeSet({{f / "old.dxf", "one"}, {f / "also.dxf", "two"}});
  EXPECT_NE(why.find("the same file as"), std::string::npos) << why;
  EXPECT_EQ(readAll(f / "old.dxf"), "old");
  EXPECT_EQ(f.entries(), 7);
}

// One output fails, at add or at commit, after others were staged or placed:
// every old file stays byte for byte as it was and nothing new is left.
TEST(OutputSet, AFailingOutputChangesNoOldFile) {
  Folder f;
  fs::create_directory(f / "folder.png");
  ASSERT_EQ(::mkfifo((f / "unread.fifo").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo((f / "closing.fifo").c_str(), 0600), 0);
  const bool root = makeDevice(f / "full.dev", 7);
  struct Case {
    const char* failing;
    const char* reason;
    bool closeReader;  // the fifo's reader goes away before the commit
  };
  std::vector<Case> cases = {
      {"folder.png", "it is a folder", false},
      {"unread.fifo", "no program is reading from", false},
      {"closing.fifo", "Broken pipe", true},
      {"missing/x.png", "No such file or directory", false},
  };
  if (root) cases.push_back({"full.dev", "No space left on device", false});
  const std::string big(300000, 'n');
  for (const OutputSet::Options options : {kNamed, kUnnamed}) {
    for (const Case& c : cases) {
      writeText(f / "drawing.dxf", "old drawing", 0640);
      writeText(f / "linked.svg", "old svg");
      fs::remove(f / "second.svg");
      fs::create_hard_link(f / "linked.svg", f / "second.svg");
      fs::remove(f / "new.html");
      const int reader = ::open((f / "closing.fifo").c_str(), O_RDONLY | O_NONBLOCK);
      std::string why;
      try {
        OutputSet set(options);
        set.add(f.file("drawing.dxf"), big);
        set.add(f.file("linked.svg"), big);
        set.add(f.file("new.html"), big);
        set.add(f.file(c.failing), big);
        if (c.closeReader) ::close(reader);
        set.commit();
      } catch (const FileError& e) {
        why = e.what();
      }
      if (!c.closeReader) ::close(reader);
      EXPECT_NE(why.find(c.reason), std::string::npos) << c.failing << ": " << why;
      EXPECT_NE(why.find(c.failing), std::string::npos) << why;
      EXPECT_EQ(readAll(f / "drawing.dxf"), "old drawing") << c.failing;
      EXPECT_EQ(statOf(f / "drawing.dxf").st_mode & 07777, 0640U) << c.failing;
      EXPECT_EQ(readAll(f / "second.svg"), "old svg") << c.failing;
      EXPECT_FALSE(fs::exists(f / "new.html")) << c.failing;
      EXPECT_EQ(f.entries(), root ? 7 : 6) << c.failing << ": a temporary was left";
      EXPECT_EQ(registeredTemporaries(), 0);
    }
  }
}

// A child stages a large output and is then signalled, during its write or
// after it; the signal ends it as it would have, and the folder holds only
// the old file. An unnamed temporary leaves nothing even after SIGKILL.
TEST(OutputSet, AnInterruptedWriteLeavesNothingBehind) {
  struct Case {
    int sig;
    OutputSet::Options options;
    bool duringWrite;
  };
  const Case cases[] = {
      {SIGINT, kNamed, false}, {SIGTERM, kNamed, false},   {SIGHUP, kNamed, false},
      {SIGTERM, kNamed, true}, {SIGKILL, kUnnamed, false},
  };
  const std::string big(64 << 20, 'x');
  for (const Case& c : cases) {
    Folder f;
    writeText(f / "drawing.dxf", "old drawing");
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      ::close(ready[0]);
      OutputSet set(c.options);
      if (c.duringWrite && ::write(ready[1], "s", 1) != 1) ::_exit(3);
      set.add(f.file("drawing.dxf"), big);
      if (!c.duringWrite && ::write(ready[1], "r", 1) != 1) ::_exit(3);
      ::pause();
      ::_exit(0);
    }
    ::close(ready[1]);
    char got = 0;
    ASSERT_EQ(::read(ready[0], &got, 1), 1);
    ::close(ready[0]);
    if (c.duringWrite) {
      // As soon as the hidden file is there, the write has begun.
      for (int i = 0; i < 20000 && f.entries() < 2; ++i) std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    ::kill(child, c.sig);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.sig) << "signal " << c.sig << ", status " << status;
    EXPECT_EQ(f.entries(), 1) << "signal " << c.sig;
    EXPECT_EQ(readAll(f / "drawing.dxf"), "old drawing");
  }
}

// Permissions and a full disk, as a user whom permission bits bind; a file
// size limit stands in for the full disk.
TEST(OutputSet, WithoutPermissionOrSpaceTheOldFileStaysAsItWas) {
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
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1024, 1024};
    ::setrlimit(RLIMIT_FSIZE, &small);
    // What is written where, and what the refusal must say ("" for none).
    // No new file can be made in "closed", but a file in it may be written.
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"closed/writable.dxf", "new drawing", ""},   {"closed/readonly.dxf", "x", "Permission denied"},
        {"closed/new.dxf", "x", "Permission denied"}, {"full.dxf", big, "File too large"},
        {"full-linked.dxf", big, "File too large"},
    };
    std::string out;
    for (const auto& [name, text, reason] : cases) {
      const std::string why = writeSet({{f / name, text}});
      if (*reason == '\0' ? !why.empty() : why.find(reason) == std::string::npos) out += name + (": " + why) + "; ";
    }
    if (readAll(f / "closed" / "writable.dxf") != "new drawing") out += "in-place text; ";
    return out;
  });
  ::chmod((f / "closed").c_str(), 0777);
  EXPECT_EQ(problems, "");
  EXPECT_EQ(readAll(f / "closed" / "readonly.dxf"), "old drawing");
  EXPECT_EQ(statOf(f / "closed" / "readonly.dxf").st_mode & 07777, 0444U);
  EXPECT_EQ(readAll(f / "full.dxf"), "old drawing");
  EXPECT_EQ(readAll(f / "full-other.dxf"), "old drawing");
  EXPECT_EQ(statOf(f / "full.dxf").st_mode & 07777, 0666U);
  EXPECT_EQ(f.entries(), 4) << "no half-written file is left beside the targets";
}

// Folders wait for the end of the batch, each once however many drawings
// went into it; outside a batch nothing waits.
TEST(OutputSet, ABatchSyncsEachFolderOnceAtItsEnd) {
  Folder a;
  Folder b;
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
  EXPECT_EQ(readAll(a / "two.dxf"), "two.dxf");
  EXPECT_EQ(readAll(a / "alone.dxf"), "x");
  // Files that wait for the end go in place now; their folder's file system
  // is then synced as a whole, once.
  for (const char* name : {"one.bmp", "two.bmp"}) {
    OutputSet set(options);
    set.add(a.file(name), name, OutputSet::Sync::atEnd);
    set.commit();
  }
  EXPECT_EQ(syncs.pending(), 3U);
  EXPECT_EQ(readAll(a / "two.bmp"), "two.bmp");
  // With nothing to wait with, such a file is synced at once like any other.
  OutputSet alone;
  alone.add(b.file("alone.bmp"), "now", OutputSet::Sync::atEnd);
  alone.commit();
  EXPECT_EQ(readAll(b / "alone.bmp"), "now");
  EXPECT_EQ(syncs.pending(), 3U);
}

}  // namespace
}  // namespace quern
