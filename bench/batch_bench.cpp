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

void runAndCheck(benchmark::State& state, const std::vector<std::string>& args) {
  for (auto _ : state) {
    if (runBatch(args) != 0) {
      state.SkipWithError("quernline-batch failed");
      return;
    }
  }
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

}  // namespace
