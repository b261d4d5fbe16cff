// Requests that arrive while a stage yields to the interface: the running
// chain must end with exactly what it would have made undisturbed.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <functional>

#include "app/form1.h"
#include "drawings.h"
#include "intake/picture_loader.h"
#include "scripted_platform.h"

namespace quern {
namespace {

using testing::ScriptedPlatform;

constexpr const char* kPicture = "/pictures/drawing.bmp";

// The drawing every chain here runs on, decoded once.
const Picture& picture() {
  static const Picture drawing = [] {
    QByteArray bmp;
    QBuffer buffer(&bmp);
    buffer.open(QIODevice::WriteOnly);
    tools::lineDrawing(300, 300).save(&buffer, "BMP");
    return decodePictureFile(reinterpret_cast<const unsigned char*>(bmp.constData()),
                             static_cast<std::size_t>(bmp.size()), "drawing.bmp");
  }();
  return drawing;
}

// What a chain leaves behind: the state, the tables, every surface and the preview.
struct Outcome {
  Int16 stage = 0;
  std::vector<LineRecord> lineTable, chainTable;
  std::vector<std::vector<Colour>> pictures;
  std::vector<std::string> stats;
  bool operator==(const Outcome&) const = default;
};

std::vector<LineRecord> recordsOf(const RecordTable& t) {
  std::vector<LineRecord> out;
  for (Int32 i = 0; i <= std::min(t.count(), RecordTable::kLastRecord); ++i) out.push_back(t[i]);
  return out;
}

struct ChainRun {
  ScriptedPlatform platform;
  Form1 form{platform};

  explicit ChainRun(const Picture& picture) {
    form.Form_Load();
    platform.files[kPicture] = picture;
    platform.openAnswers.push_back(kPicture);
    form.menu("loadimage");
  }
  Outcome chain(const char* button = "Command8") {
    EXPECT_TRUE(form.click(button));
    EXPECT_EQ(form.lastError(), "");
    Outcome o{form.stage(), recordsOf(form.session.LineTable), recordsOf(form.session.ChainTable), {}, {}};
    for (const ImgProc* s : {&form.IPCH, &form.IPC1, &form.IPC2, &form.IPC3, &form.IPCT}) {
      const PixelView px = s->picture() ? s->picture()->pixels() : PixelView(nullptr, 0);
      o.pictures.emplace_back(px.begin(), px.end());
    }
    const Picture shown = form.Picture1.Image();
    o.pictures.emplace_back(shown->pixels().begin(), shown->pixels().end());
    for (const Label& l : form.Stat) o.stats.push_back(l.Caption);
    return o;
  }
};

TEST(StageRequests, EveryRequestThatWouldStartWorkIsRefusedAtEveryYield) {
  const Outcome undisturbed = ChainRun(picture()).chain();
  ASSERT_EQ(undisturbed.stage, 11);
  ASSERT_GT(undisturbed.chainTable.size(), 50U);

  ChainRun run(picture());
  using Request = std::pair<const char*, std::function<bool(Form1&)>>;
  std::vector<Request> requests;
  for (const char* b : {"Command8", "Command9", "Command10", "Command13", "Command14", "Command15", "Command11",
                        "Command2", "Command5", "Command6", "Command7", "DoGeneralize", "Command1"}) {
    requests.emplace_back(b, [b](Form1& f) { return f.click(b); });
  }
  for (const char* m : {"loadimage", "exportimage", "Restormenu"}) {
    requests.emplace_back(m, [m](Form1& f) { return f.menu(m); });
  }
  requests.emplace_back("HScroll1", [](Form1& f) { return f.scroll("HScroll1", 50); });
  run.platform.openAnswers.push_back(kPicture);
  run.platform.saveAnswers.push_back("/nowhere/drawing.dxf");
  long long yields = 0;
  std::vector<std::string> accepted;
  run.platform.onDoEvents = [&] {
    ++yields;
    for (const auto& [name, fire] : requests) {
      if (fire(run.form)) accepted.push_back(name);
    }
  };
  EXPECT_EQ(run.chain(), undisturbed);
  EXPECT_GT(yields, 1000);
  EXPECT_TRUE(accepted.empty()) << accepted.front();
  EXPECT_EQ(run.platform.openAnswers.size(), 1U) << "no dialog was shown";
  EXPECT_EQ(run.platform.saveAnswers.size(), 1U) << "no dialog was shown";
  EXPECT_EQ(run.form.HScroll1.Value, 100);
}

// The value boxes, scroll bars and check boxes stay live: a change made in the
// first yield (inside stage 2) counts from the next stage that reads it, as
// if it had been made before the chain began.
TEST(StageRequests, LiveControlsChangedDuringAStageTakeEffectWhereTheyAreRead) {
  struct Case {
    const char* name;
    std::function<bool(Form1&)> change;
    bool countsInThisRun;             // false: read before the first yield
    const char* thenClick = nullptr;  // made before, the chain stops one stage earlier
  };
  const Case cases[] = {
      {"Text3 edited", [](Form1& f) { return (f.Text3.Text = "7", true); }, true},
      {"HScroll6", [](Form1& f) { return f.scroll("HScroll6", 12); }, true},
      {"HScroll2", [](Form1& f) { return f.scroll("HScroll2", 120); }, true},
      {"Check3 cleared", [](Form1& f) { return (f.checkBox("Check3").Value = 0, true); }, true},
      {"Check2 cleared", [](Form1& f) { return (f.checkBox("Check2").Value = 0, true); }, true},
      {"Check1 cleared", [](Form1& f) { return (f.checkBox("Check1").Value = 0, true); }, true, "Command9"},
      {"HScroll3", [](Form1& f) { return f.scroll("HScroll3", 0); }, false},
  };
  const Outcome plain = ChainRun(picture()).chain();
  for (const Case& c : cases) {
    ChainRun before(picture());
    ASSERT_TRUE(c.change(before.form));
    Outcome expected = c.countsInThisRun ? before.chain() : plain;
    if (c.thenClick) expected = before.chain(c.thenClick);

    ChainRun during(picture());
    bool fired = false;
    during.platform.onDoEvents = [&] {
      if (fired) return;
      fired = true;
      EXPECT_TRUE(c.change(during.form)) << c.name;
    };
    EXPECT_TRUE(during.chain() == expected) << c.name;
    EXPECT_TRUE(fired) << c.name;
  }
}

}  // namespace
}  // namespace quern
