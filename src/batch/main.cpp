// quernline-batch: the six stages on pictures, without a window.
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <optional>

#include "base/output_set.h"
#include "batch/batch_args.h"
#include "batch/batch_run.h"
#include "batch/progress.h"
#include "batch/report.h"

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::cout << "quernline " QUERNLINE_VERSION "\n";
    return 0;
  }
  // Picture buffers come and go at every stage: keep freed memory in the
  // heap for the next one instead of giving it back and faulting it in anew.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  std::vector<std::string> words(argv + 1, argv + argc);
  const quern::BatchParse parsed = quern::parseBatchArgs(words);
  if (parsed.help) {
    std::cout << quern::kBatchUsage;
    return 0;
  }
  if (!parsed.args) {
    std::cerr << "quernline-batch: " << parsed.error << "\n" << quern::kBatchUsage;
    return 2;
  }
  const quern::BatchArgs& args = *parsed.args;
  quern::ProgressLine progress(!args.quiet && quern::ProgressLine::onTerminal());
  try {
    // Before any work: an output over an input or over another output.
    const quern::RunPlan plan = quern::planRun(args);
    if (!plan.error.empty()) {
      std::cerr << "quernline-batch: " << plan.error << "\n";
      return 2;
    }
    const auto started = std::chrono::steady_clock::now();
    const auto seconds = [&] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    };
    const auto written = [](const std::vector<quern::BatchResult>& rs) {
      return std::count_if(rs.begin(), rs.end(), [](const quern::BatchResult& r) { return r.ok(); });
    };
    std::vector<quern::BatchResult> results;
    if (args.outDir) {
      // The review page takes each picture as it is made, and goes to disk
      // with the drawings, in their one sync. A sync that fails turns
      // drawings into failures: the page is then made again to say so.
      std::optional<quern::ReviewPage> page;
      if (args.report) page.emplace(*args.report, args.pictures.size());
      std::string pageError;
      long writtenBeforeSync = -1;
      const auto finishPage = [&](const std::vector<quern::BatchResult>& rs, quern::FolderSyncs& syncs) {
        if (!page) return;
        try {
          page->finish(rs, seconds(), &syncs);
          writtenBeforeSync = written(rs);
        } catch (const std::exception& e) {
          pageError = e.what();
        }
      };
      const auto takePicture = [&](quern::BatchResult& r, std::size_t i, quern::FolderSyncs& syncs) {
        if (page) page->take(r, i, &syncs);
      };
      results = quern::runMany(args, plan, &progress, finishPage, takePicture);
      std::cout << quern::summaryTable(results);
      for (const quern::BatchResult& r : results) {
        if (!r.ok()) std::cerr << "quernline-batch: " << r.picture << ": " << r.error << "\n";
      }
      if (!pageError.empty()) throw quern::FileError(pageError);
      if (page && written(results) != writtenBeforeSync) page->rewrite(results, seconds());
    } else {
      results.push_back(quern::runBatch(args, &progress));
      if (!results[0].ok()) std::cerr << "quernline-batch: " << results[0].error << "\n";
      // A drawing on standard output leaves the statistics to stderr.
      std::ostream& out = args.drawing == "-" ? std::cerr : std::cout;
      for (const std::string& line : results[0].statistics) out << line << "\n";
      if (args.report) quern::writeReport(*args.report, results, seconds());
    }
    bool all = true;
    for (const quern::BatchResult& r : results) all = all && r.ok();
    return all ? 0 : 1;
  } catch (const std::exception& e) {
    std::cerr << "quernline-batch: " << e.what() << "\n";
    return 1;
  }
}
