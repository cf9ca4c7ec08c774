#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace AgentTest {

// A program the end-to-end tests start: its own process group (so that whatever it starts in
// turn goes with it), standard output and error appended to files, standard input a pipe the
// test writes lines to or /dev/null. The destructor ends the whole group (SIGTERM, then SIGKILL)
// and reaps it, so a failing test leaves nothing running.
class ChildProcess {
 public:
  ChildProcess(std::vector<std::string> const& argv, std::string const& outputPath,
               bool withInput = false, std::vector<std::string> const& environment = {});
  ~ChildProcess();
  ChildProcess(ChildProcess const&) = delete;
  ChildProcess& operator=(ChildProcess const&) = delete;

  pid_t pid() const { return pid_; }
  // Writes `line` and a newline to the standard input pipe.
  void lineIs(std::string const& line);
  // Closes the standard input pipe (end of input).
  void closeInput();
  // Sends `signal` to the process and waits up to `timeout` for it to end; its wait status, or
  // nullopt when it still runs (the destructor kills it then).
  std::optional<int> stop(int signal, std::chrono::milliseconds timeout);
  // Whether the process has ended, without waiting; the status is kept for stop().
  bool exited();

 private:
  pid_t pid_ = -1;
  int input_ = -1;
  std::optional<int> status_;
};

// Calls `done` until it is true or `timeout` has passed, pausing briefly between calls; its last
// answer. The only wait the end-to-end tests use: processes run at their own pace, so each step
// waits for the state it expects, bounded.
bool eventually(std::function<bool()> const& done,
                std::chrono::milliseconds timeout = std::chrono::seconds(5));

// The whole file, or "" when it cannot be read.
std::string fileText(std::string const& path);

}  // namespace AgentTest
