// The batch driver's argument parser on any list of arguments: it either
// takes them, with every value in its scroll bar's range, or says why not.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "batch/batch_args.h"

// Input: the arguments, separated by NUL bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> argv;
  std::string current;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      argv.push_back(current);
      current.clear();
    } else {
      current.push_back(static_cast<char>(data[i]));
    }
  }
  argv.push_back(current);
  const quern::BatchParse parsed = quern::parseBatchArgs(argv);
  if (parsed.help) return 0;
  if (parsed.args.has_value() == !parsed.error.empty()) std::abort();
  if (!parsed.args) return 0;
  const quern::BatchArgs& a = *parsed.args;
  const bool inRange = a.scale >= 1 && a.scale <= 300 && a.blur >= 0 && a.blur <= 3 && a.threshold >= 1 &&
                       a.threshold <= 255 && a.tolerance >= 1 && a.tolerance <= 100 && a.maxMegapixels >= 1 &&
                       a.jobs >= 0;
  if (!inRange) std::abort();
  // One picture to one drawing, or many to a folder: never an empty drawing name.
  if (!a.outDir && a.drawing.empty()) std::abort();
  return 0;
}
