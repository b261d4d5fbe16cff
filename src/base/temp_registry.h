#pragma once

#include <string>

namespace quern {

// Hidden files a run has made and not yet put in place, removed by
// SIGINT, SIGTERM and SIGHUP before the signal takes its usual course, so an
// interrupted export leaves no half-written file behind. The signal handler
// reads the names without locks or allocation; it is installed the first time
// a name is registered, and not at all for a signal the process ignores.
//
// The table is the one piece of process-wide state of the writers: a signal
// has no other way to find what to remove.
class TemporaryName {
 public:
  TemporaryName() = default;
  // Registers path; a name too long for the table, or a full table, is kept
  // unprotected rather than refused.
  explicit TemporaryName(const std::string& path);
  ~TemporaryName();  // forgets the name; the file itself is the owner's
  TemporaryName(TemporaryName&& other) noexcept;
  TemporaryName& operator=(TemporaryName&& other) noexcept;
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  const std::string& path() const { return path_; }
  bool empty() const { return path_.empty(); }
  // Removes the file and forgets it.
  void remove();
  // Forgets the name without touching the file (it has been renamed away).
  void release();

 private:
  std::string path_;
  int slot_ = -1;
};

// Names registered now; for tests.
int registeredTemporaries();

}  // namespace quern
