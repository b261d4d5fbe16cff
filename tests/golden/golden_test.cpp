// The golden set: drawings, previews and statistics of the window's handlers
// and of quernline-batch on fixed pictures and values, including stage re-runs
// with new values, compared with what the program gave when the set was
// taken. Any change of a drawing shows here first.
//
// QUERN_GOLDEN_WRITE=1 rewrites the expected files instead of comparing.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "app/form1.h"
#include "intake/picture_loader.h"

namespace quern {
namespace {

std::string fnv(const void* data, std::size_t size) {
  std::uint64_t h = 1469598103934665603ULL;
  const auto* p = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < size; ++i) {
    h ^= p[i];
    h *= 1099511628211ULL;
  }
  char out[17];
  std::snprintf(out, sizeof out, "%016llx", static_cast<unsigned long long>(h));
  return out;
}

std::string fileHash(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "missing";
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return fnv(bytes.data(), bytes.size());
}

std::string picturePath(const std::string& name) { return std::string(QUERN_GOLDEN_DIR) + "/pictures/" + name; }

// Answers the dialogs from queues and loads real files.
class GoldenPlatform : public Platform {
 public:
  std::deque<std::string> open;
  std::deque<std::string> save;
  std::vector<std::string> messages;

  std::optional<std::string> ShowOpenDialog() override { return next(open); }
  std::optional<std::string> ShowSaveDialog() override { return next(save); }
  void MsgBox(const std::string& text) override { messages.push_back(text); }
  void DoEvents() override {}

 private:
  static std::optional<std::string> next(std::deque<std::string>& q) {
    if (q.empty()) return std::nullopt;
    std::string v = q.front();
    q.pop_front();
    return v;
  }
};

// One line per checkpoint: the state, the exported drawing, the preview, the
// statistics and the messages shown since the last checkpoint.
class WindowRun {
 public:
  explicit WindowRun(const std::string& dir) : dir_(dir) { form.Form_Load(); }

  void checkpoint(const std::string& name) {
    const std::vector<std::string> shown = std::move(platform.messages);
    platform.messages.clear();
    const std::string dxf = dir_ + "/" + name + ".dxf";
    platform.save.push_back(dxf);
    form.menu("exportimage");
    platform.messages.clear();  // "done"
    std::string stats;
    for (const Label& l : form.Stat) stats += l.Caption + "\n";
    std::ostringstream line;
    line << name << " stage=" << form.stage() << " dxf=" << fileHash(dxf)
         << " preview=" << fnv(form.Picture1.bits(), sizeof(Colour) * form.Picture1.pixelWidth() *
                                                         static_cast<std::size_t>(form.Picture1.pixelHeight()))
         << " stats=" << fnv(stats.data(), stats.size()) << " lines=" << form.Stat[5].Caption.substr(18);
    for (const std::string& m : shown) line << " | " << m;
    lines.push_back(line.str());
  }
  void load(const std::string& picture) {
    platform.open.push_back(picturePath(picture));
    form.menu("loadimage");
  }

  GoldenPlatform platform;
  Form1 form{platform};
  std::vector<std::string> lines;

 private:
  std::string dir_;
};

std::vector<std::string> windowCases(const std::string& dir) {
  std::vector<std::string> all;
  {
    WindowRun r(dir);
    r.form.click("Command8");
    r.checkpoint("builtin-chain");
    // Stage re-runs with new values, one stage at a time.
    r.form.Check1.Value = 0;
    r.form.scroll("HScroll2", 150);
    r.form.click("Command10");
    r.checkpoint("builtin-threshold-150");
    r.form.click("Command13");
    r.form.click("Command14");
    r.form.click("Command15");
    r.checkpoint("builtin-rethinned");
    r.form.scroll("HScroll6", 30);
    r.form.Check3.Value = 0;
    r.form.click("Command15");
    r.checkpoint("builtin-reorder-30");
    r.form.Check2.Value = 0;
    r.form.Text3.Text = "7";
    r.form.click("Command15");
    r.checkpoint("builtin-no-original-7");
    r.form.scroll("HScroll3", 3);
    r.form.click("Command9");
    r.form.click("Command10");
    r.form.click("Command13");
    r.form.click("Command14");
    r.form.click("Command15");
    r.checkpoint("builtin-blur-3");
    all.insert(all.end(), r.lines.begin(), r.lines.end());
  }
  {
    WindowRun r(dir);
    r.load("plan.gif");
    r.checkpoint("plan-loaded");
    r.form.scroll("HScroll1", 150);
    r.checkpoint("plan-scale-150");
    r.form.scroll("HScroll1", 7);
    r.checkpoint("plan-scale-7");
    all.insert(all.end(), r.lines.begin(), r.lines.end());
  }
  {
    WindowRun r(dir);
    r.load("sketch.jpg");
    r.form.scroll("HScroll3", 3);
    r.form.scroll("HScroll2", 220);
    r.form.scroll("HScroll1", 60);
    r.checkpoint("sketch-60-blur3-220");
    r.form.Check3.Value = 0;
    r.form.Text3.Text = "55";
    r.form.click("Command15");
    r.checkpoint("sketch-reorder-55");
    all.insert(all.end(), r.lines.begin(), r.lines.end());
  }
  {
    WindowRun r(dir);
    r.load("strokes.bmp");
    r.form.click("Command8");
    r.checkpoint("strokes-chain");
    r.form.click("Command11");  // side chain: thinning, polylines, normalisation
    r.checkpoint("strokes-side-chain");
    r.form.click("Command6");
    r.checkpoint("strokes-normalize-general");
    r.form.click("Command7");
    r.checkpoint("strokes-fan");
    r.form.click("Command1");
    r.checkpoint("strokes-treat");
    all.insert(all.end(), r.lines.begin(), r.lines.end());
  }
  {
    WindowRun r(dir);
    r.load("wide.gif");
    r.form.click("Command8");
    r.checkpoint("wide-refused");
    r.form.scroll("HScroll1", 50);
    r.checkpoint("wide-half");
    all.insert(all.end(), r.lines.begin(), r.lines.end());
  }
  return all;
}

std::vector<std::string> batchCases(const std::string& dir) {
  struct Case {
    const char* name;
    std::vector<std::string> args;
    const char* picture;
  };
  const std::vector<Case> cases = {
      {"batch-builtin", {}, nullptr},
      {"batch-plan", {"--scale", "0.5", "--blur", "2", "--threshold", "180", "--tolerance", "20", "--reorder"},
       "plan.gif"},
      {"batch-sketch", {"--scale", "1.5", "--blur", "0", "--threshold", "128", "--no-original"}, "sketch.jpg"},
      {"batch-strokes", {"--blur", "3", "--tolerance", "100", "--reorder"}, "strokes.bmp"},
      {"batch-wide", {"--scale", "0.5"}, "wide.gif"},
  };
  std::vector<std::string> all;
  for (const Case& c : cases) {
    const std::string dxf = dir + "/" + c.name + ".dxf";
    const std::string png = dir + "/" + c.name + ".png";
    QStringList args;
    for (const std::string& a : c.args) args << QString::fromStdString(a);
    args << "--preview" << QString::fromStdString(png);
    if (c.picture) args << QString::fromStdString(picturePath(c.picture));
    args << QString::fromStdString(dxf);
    QProcess p;
    p.start(QUERN_BATCH_PATH, args);
    p.waitForFinished(300000);
    const QByteArray out = p.readAllStandardOutput();
    QImage preview(QString::fromStdString(png));
    preview = preview.convertToFormat(QImage::Format_RGB32);
    std::ostringstream line;
    line << c.name << " exit=" << p.exitCode() << " dxf=" << fileHash(dxf)
         << " preview=" << (preview.isNull() ? std::string("none") : fnv(preview.constBits(), preview.sizeInBytes()))
         << " stdout=" << fnv(out.constData(), static_cast<std::size_t>(out.size()));
    all.push_back(line.str());
  }
  return all;
}

void compareOrWrite(const std::vector<std::string>& got, const std::string& file) {
  const std::string path = std::string(QUERN_GOLDEN_DIR) + "/" + file;
  const char* write = std::getenv("QUERN_GOLDEN_WRITE");
  if (write && std::string(write) == "1") {
    std::ofstream out(path);
    for (const std::string& l : got) out << l << "\n";
    GTEST_SKIP() << "wrote " << path;
  }
  std::ifstream in(path);
  ASSERT_TRUE(in) << "no expected file " << path;
  std::vector<std::string> expected;
  for (std::string l; std::getline(in, l);) expected.push_back(l);
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], expected[i]);
}

TEST(Golden, WindowHandlersGiveTheDrawingsOfTheGoldenSet) {
  QTemporaryDir dir;
  compareOrWrite(windowCases(dir.path().toStdString()), "expected_window.txt");
}

TEST(Golden, BatchDriverGivesTheDrawingsOfTheGoldenSet) {
  QTemporaryDir dir;
  compareOrWrite(batchCases(dir.path().toStdString()), "expected_batch.txt");
}

}  // namespace
}  // namespace quern
