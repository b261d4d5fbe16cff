#include "base/temp_registry.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <mutex>

namespace quern {

namespace {

// A slot goes free -> filling -> ready -> free, or ready -> claimed once a
// signal handler has taken it; only ready slots are read by the handler.
enum SlotState : int { kFree = 0, kFilling = 1, kReady = 2, kClaimed = 3 };

constexpr int kSlots = 128;
constexpr std::size_t kLongestName = 1024;

struct Slot {
  std::atomic<int> state{kFree};
  char path[kLongestName];
};

Slot slots[kSlots];
static_assert(std::atomic<int>::is_always_lock_free, "the handler may touch only lock-free atomics");

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction previous[3];

void removeAll(int sig) {
  const int savedErrno = errno;
  for (Slot& s : slots) {
    int expected = kReady;
    if (s.state.compare_exchange_strong(expected, kClaimed)) ::unlink(s.path);
  }
  for (int i = 0; i < 3; ++i) {
    if (kSignals[i] != sig) continue;
    const struct sigaction& before = previous[i];
    if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
      // Someone else handles it too: let them, and stay installed.
      if ((before.sa_flags & SA_SIGINFO) != 0) {
        before.sa_sigaction(sig, nullptr, nullptr);
      } else {
        before.sa_handler(sig);
      }
    } else {
      // The usual course: end the process as the signal would have.
      ::sigaction(sig, &before, nullptr);
      ::raise(sig);
    }
  }
  errno = savedErrno;
}

void installOnce() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    for (int i = 0; i < 3; ++i) {
      struct sigaction now {};
      ::sigaction(kSignals[i], nullptr, &previous[i]);
      if (previous[i].sa_handler == SIG_IGN) continue;  // nohup and the like: leave it ignored
      now.sa_handler = removeAll;
      ::sigemptyset(&now.sa_mask);
      for (int sig : kSignals) ::sigaddset(&now.sa_mask, sig);
      now.sa_flags = SA_RESTART;
      ::sigaction(kSignals[i], &now, nullptr);
    }
  });
}

int take(const std::string& path) {
  if (path.size() >= kLongestName) return -1;
  installOnce();
  for (int i = 0; i < kSlots; ++i) {
    int expected = kFree;
    if (!slots[i].state.compare_exchange_strong(expected, kFilling)) continue;
    std::memcpy(slots[i].path, path.c_str(), path.size() + 1);
    slots[i].state.store(kReady);
    return i;
  }
  return -1;
}

void give(int slot) {
  if (slot < 0) return;
  int expected = kReady;
  // A claimed slot is being removed by a handler that ends the process.
  slots[slot].state.compare_exchange_strong(expected, kFree);
}

}  // namespace

TemporaryName::TemporaryName(const std::string& path) : path_(path), slot_(take(path)) {}

TemporaryName::~TemporaryName() {
  give(slot_);
}

TemporaryName::TemporaryName(TemporaryName&& other) noexcept : path_(std::move(other.path_)), slot_(other.slot_) {
  other.path_.clear();
  other.slot_ = -1;
}

TemporaryName& TemporaryName::operator=(TemporaryName&& other) noexcept {
  if (this != &other) {
    give(slot_);
    path_ = std::move(other.path_);
    slot_ = other.slot_;
    other.path_.clear();
    other.slot_ = -1;
  }
  return *this;
}

void TemporaryName::remove() {
  if (path_.empty()) return;
  ::unlink(path_.c_str());
  release();
}

void TemporaryName::release() {
  give(slot_);
  slot_ = -1;
  path_.clear();
}

int registeredTemporaries() {
  int n = 0;
  for (const Slot& s : slots) n += s.state.load() == kReady ? 1 : 0;
  return n;
}

}  // namespace quern
