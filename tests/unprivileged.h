#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace quern::testing {

// Runs `check` as an unprivileged user, whom permission bits bind. As root
// it runs in a child that gives up root (user and groups 65534); `check`
// returns what went wrong, or "" when all held.
inline std::string asUnprivileged(const std::function<std::string()>& check) {
  if (::geteuid() != 0) return check();
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) return "no pipe";
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(pipeFds[0]);
    const bool dropped = ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0;
    std::string result = dropped ? check() : "could not give up root";
    if (::write(pipeFds[1], result.data(), result.size()) < 0) result.clear();
    ::_exit(0);
  }
  ::close(pipeFds[1]);
  std::string result;
  char buffer[512];
  for (ssize_t n; (n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0;) {
    result.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(pipeFds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? result : "the child died";
}

}  // namespace quern::testing
