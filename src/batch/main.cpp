// quernline-batch: the six stages on one picture, without a window.
#include <filesystem>
#include <iostream>

#include "base/errors.h"
#include "batch/batch_args.h"
#include "batch/batch_run.h"

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::cout << "quernline " QUERNLINE_VERSION "\n";
    return 0;
  }
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
  try {
    const quern::BatchResult result = quern::runBatch(*parsed.args);
    if (!result.ok()) {
      std::cerr << "quernline-batch: " << result.error << "\n";
      return 1;
    }
    for (const std::string& line : result.statistics) std::cout << line << "\n";
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "quernline-batch: " << e.what() << "\n";
    return 1;
  }
}
