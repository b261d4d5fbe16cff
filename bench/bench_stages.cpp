// Each stage run again alone on the built-in picture, as the window runs it
// when the user moves one value: the whole chain has run once, "Continue" is
// clear, and that stage's Apply button is clicked. One frame is 16 ms.
#include <benchmark/benchmark.h>

#include <optional>
#include <string>
#include <vector>

#include "app/form1.h"

namespace quern {
namespace {

// No dialogs; a message box means the run went wrong, so keep them.
class QuietPlatform : public Platform {
 public:
  std::optional<std::string> ShowOpenDialog() override { return std::nullopt; }
  std::optional<std::string> ShowSaveDialog() override { return std::nullopt; }
  void MsgBox(const std::string& text) override { messages.push_back(text); }
  void DoEvents() override {}

  std::vector<std::string> messages;
};

struct StageButton {
  const char* button;
  const char* name;
};
constexpr StageButton kStages[] = {{"Command8", "rescale"},         {"Command9", "blur"},
                                   {"Command10", "threshold"},      {"Command13", "thinning"},
                                   {"Command14", "chain assembly"}, {"Command15", "simplification"}};

// The state the chain is left in once stage N has run: N + 1, and 11 after the last.
Int16 stateAfter(int stage) {
  return static_cast<Int16>(stage == 6 ? 11 : stage + 1);
}

void BM_StageRerun(benchmark::State& state) {
  const int stage = static_cast<int>(state.range(0));
  const StageButton& step = kStages[stage - 1];
  state.SetLabel(step.name);
  QuietPlatform platform;
  Form1 form(platform);
  form.Form_Load();
  form.Check1.Value = 1;
  if (!form.click("Command8") || form.stage() != 11 || !platform.messages.empty()) {
    state.SkipWithError("the whole chain did not run on the built-in picture");
    return;
  }
  const Int32 lines = form.session.ChainTable.count();
  form.Check1.Value = 0;
  for (auto _ : state) {
    // Chain assembly rewrites the line table it reads, so each of its runs
    // starts from a fresh thinning, which is not timed.
    if (stage == 5) {
      state.PauseTiming();
      form.click(kStages[3].button);
      state.ResumeTiming();
    }
    if (!form.click(step.button) || form.stage() != stateAfter(stage)) {
      state.SkipWithError("the stage was refused or did not finish");
      return;
    }
  }
  if (!form.lastError().empty() || !platform.messages.empty()) {
    state.SkipWithError("a stage reported a failure");
  } else if (stage == 6 && form.session.ChainTable.count() != lines) {
    state.SkipWithError("the re-run gave another number of lines than the whole chain");
  }
  state.counters["lines"] = lines;
}
BENCHMARK(BM_StageRerun)->ArgName("stage")->DenseRange(1, 6)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
