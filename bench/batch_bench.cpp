// Whole-process timings of quernline-batch: start, stages, written DXF.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <algorithm>
#include <string>
#include <vector>

#include "drawings.h"

extern char** environ;

namespace {

int runBatch(const std::vector<std::string>& args) {
  std::vector<std::string> all = {QUERN_BATCH_PATH};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : all) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int status = -1;
  if (posix_spawn(&pid, argv[0], &quiet, nullptr, argv.data(), environ) == 0) waitpid(pid, &status, 0);
  posix_spawn_file_actions_destroy(&quiet);
  return status;
}

double childCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Real time, and the program's own processor time beside it: on a machine
// that others share, the second moves less with their load.
void runAndCheck(benchmark::State& state, const std::vector<std::string>& args) {
  const double cpuBefore = childCpuSeconds();
  for (auto _ : state) {
    if (runBatch(args) != 0) {
      state.SkipWithError("quernline-batch failed");
      return;
    }
  }
  state.counters["batch_cpu_ms"] =
      benchmark::Counter((childCpuSeconds() - cpuBefore) * 1000.0, benchmark::Counter::kAvgIterations);
}

// A run whose outcome is known (drawn, or refused with exit 1), with the
// child's peak memory as a counter.
void runAndMeasure(benchmark::State& state, const std::vector<std::string>& args, int exitCode) {
  std::vector<std::string> all = {QUERN_BATCH_PATH};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : all) argv.push_back(a.data());
  argv.push_back(nullptr);
  long peakKb = 0;
  for (auto _ : state) {
    pid_t pid = 0;
    int status = -1;
    rusage usage{};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&pid, argv[0], &quiet, nullptr, argv.data(), environ) == 0) wait4(pid, &status, 0, &usage);
    posix_spawn_file_actions_destroy(&quiet);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != exitCode) {
      state.SkipWithError("quernline-batch gave another outcome");
      return;
    }
    peakKb = std::max(peakKb, usage.ru_maxrss);
  }
  state.counters["peak_MB"] = static_cast<double>(peakKb) / 1024.0;
}

// A 332-byte JPEG whose frame header claims 6000 x 6000: refused from its
// structure, before the reader fills in the missing pixels.
void BM_BatchLyingJpegLarge(benchmark::State& state) {
  QTemporaryDir dir;
  QImage tiny(8, 8, QImage::Format_Grayscale8);
  tiny.fill(0);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  tiny.save(&buffer, "JPEG");
  const qsizetype sof = bytes.indexOf(QByteArray("\xff\xc0", 2));
  for (const int at : {5, 7}) {
    bytes[sof + at] = static_cast<char>(6000 >> 8);
    bytes[sof + at + 1] = static_cast<char>(6000 & 255);
  }
  QFile file(dir.filePath("lying.jpg"));
  file.open(QIODevice::WriteOnly);
  file.write(bytes);
  file.close();
  runAndMeasure(state, {"--large", file.fileName().toStdString(), dir.filePath("out.dxf").toStdString()}, 1);
}
BENCHMARK(BM_BatchLyingJpegLarge)->Unit(benchmark::kMillisecond)->UseRealTime();

// 3000 x 3000 black pixels, which thinning leaves nearly all listed: the
// line tables' share of --max-megapixels refuses them before they grow.
void BM_BatchAllBlack3000Large(benchmark::State& state) {
  QTemporaryDir dir;
  QImage black(3000, 3000, QImage::Format_Mono);
  black.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
  black.fill(0);
  const QString picture = dir.filePath("black.bmp");
  black.save(picture);
  runAndMeasure(state, {"--large", picture.toStdString(), dir.filePath("out.dxf").toStdString()}, 1);
}
BENCHMARK(BM_BatchAllBlack3000Large)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_BatchBuiltInPicture(benchmark::State& state) {
  QTemporaryDir dir;
  runAndCheck(state, {dir.filePath("out.dxf").toStdString()});
}
BENCHMARK(BM_BatchBuiltInPicture)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BatchLineDrawing1500(benchmark::State& state) {
  QTemporaryDir dir;
  const QString picture = dir.filePath("drawing1500.bmp");
  quern::tools::lineDrawing(1500, 1500).save(picture);
  runAndCheck(state, {picture.toStdString(), dir.filePath("out.dxf").toStdString()});
}
BENCHMARK(BM_BatchLineDrawing1500)->Unit(benchmark::kMillisecond)->UseRealTime();

// Twenty-four scans, two at a time, without and with the review page: the
// difference is what --report adds to a batch (previews and thumbnails drawn
// from the pictures in hand, and the page).
void BM_Batch24Pictures(benchmark::State& state) {
  QTemporaryDir dir;
  const QImage scan = quern::tools::lineDrawing(1200, 900);
  std::vector<std::string> args = {"--quiet", "-j", "2", "--out-dir", dir.filePath("dxf").toStdString()};
  if (state.range(0) != 0) {
    args.push_back("--report");
    args.push_back(dir.filePath("review.html").toStdString());
  }
  for (int i = 0; i < 24; ++i) {
    const QString picture = dir.filePath(QString("scan %1.bmp").arg(i));
    scan.save(picture);
    args.push_back(picture.toStdString());
  }
  runAndCheck(state, args);
}
BENCHMARK(BM_Batch24Pictures)->ArgName("report")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
