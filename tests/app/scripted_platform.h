#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/platform.h"
#include "base/errors.h"

namespace quern::testing {

// A platform that answers the dialogs from queues, keeps the messages and
// hands out pictures by path; a hook runs inside each chance to run.
class ScriptedPlatform : public Platform {
 public:
  std::deque<std::optional<std::string>> openAnswers;
  std::deque<std::optional<std::string>> saveAnswers;
  std::vector<std::string> messages;
  std::map<std::string, Picture> files;  // a path not listed cannot be read
  std::vector<std::string> loaded;
  std::function<void()> onDoEvents;

  std::optional<std::string> ShowOpenDialog() override { return next(openAnswers); }
  std::optional<std::string> ShowSaveDialog() override { return next(saveAnswers); }
  void MsgBox(const std::string& text) override { messages.push_back(text); }
  void DoEvents() override {
    if (onDoEvents) onDoEvents();
  }
  Picture LoadPicture(const std::string& path) override {
    loaded.push_back(path);
    const auto it = files.find(path);
    if (it == files.end()) throw FileError("cannot load " + path + ": no such file");
    return it->second;
  }

 private:
  static std::optional<std::string> next(std::deque<std::optional<std::string>>& q) {
    if (q.empty()) return std::nullopt;
    auto v = q.front();
    q.pop_front();
    return v;
  }
};

}  // namespace quern::testing
