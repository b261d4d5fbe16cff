#include <algorithm>
#include <filesystem>
#include <map>
#include <numeric>
#include <set>

#include "base/file_identity.h"
#include "batch/batch_run.h"
#include "dxf/dxf_writer.h"

namespace quern {

namespace {

std::string stemOf(const std::string& picture) {
  return std::filesystem::path(picture).stem().string();
}

// With --out-dir: each picture's name in the output folders, or the clash.
std::string nameOutputs(const BatchArgs& args, std::vector<PictureFiles>& files) {
  const std::set<std::string> stems = [&] {
    std::set<std::string> all;
    for (const std::string& p : args.pictures) all.insert(stemOf(p));
    return all;
  }();
  std::map<std::string, std::size_t> used;  // name -> the picture that has it
  for (std::size_t i = 0; i < args.pictures.size(); ++i) {
    std::string name = stemOf(args.pictures[i]);
    if (const auto first = used.find(name); first != used.end()) {
      if (!args.suffixOnCollision) {
        return args.pictures[first->second] + " and " + args.pictures[i] + " would both be written as " +
               (std::filesystem::path(*args.outDir) / (name + ".dxf")).string() +
               ": rename one, or give --on-collision suffix";
      }
      const std::string stem = name;
      for (int n = 2; stems.contains(name) || used.contains(name); ++n) name = stem + "-" + std::to_string(n);
    }
    used.emplace(name, i);
    files[i].drawing = (std::filesystem::path(*args.outDir) / (name + ".dxf")).string();
    if (args.previewDir) files[i].preview = (std::filesystem::path(*args.previewDir) / (name + ".png")).string();
  }
  return "";
}

}  // namespace

RunPlan planRun(const BatchArgs& args) {
  RunPlan plan;
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
  if (args.outDir) {
    plan.pictures.resize(args.pictures.size());
    for (std::size_t i = 0; i < args.pictures.size(); ++i) plan.pictures[i].picture = args.pictures[i];
    plan.error = nameOutputs(args, plan.pictures);
    if (!plan.error.empty()) return plan;
    inputs = args.pictures;
  } else {
    plan.pictures.push_back({args.picture, withDxfExtension(args.drawing), args.preview});
    if (args.picture) inputs.push_back(*args.picture);
    if (args.svg) outputs.push_back(*args.svg);
  }
  for (const PictureFiles& f : plan.pictures) {
    outputs.push_back(f.drawing);
    if (f.preview) outputs.push_back(*f.preview);
  }
  if (const auto clash = firstClash(inputs, outputs)) {
    const bool read = std::find(inputs.begin(), inputs.end(), clash->first) != inputs.end();
    plan.error = read ? clash->second + " is the same file as the picture " + clash->first +
                            ", which this run reads: nothing was written"
                      : clash->second + " is the same file as " + clash->first +
                            ", which this run writes too: nothing was written";
  }
  std::vector<std::uintmax_t> bytes;
  for (const PictureFiles& f : plan.pictures) {
    std::error_code unknown;
    const std::uintmax_t size = f.picture ? std::filesystem::file_size(*f.picture, unknown) : 0;
    bytes.push_back(unknown ? 0 : size);
  }
  plan.order.resize(plan.pictures.size());
  std::iota(plan.order.begin(), plan.order.end(), std::size_t{0});
  std::stable_sort(plan.order.begin(), plan.order.end(),
                   [&](std::size_t a, std::size_t b) { return bytes[a] > bytes[b]; });
  return plan;
}

}  // namespace quern
