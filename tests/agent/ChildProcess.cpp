#include "tests/agent/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace AgentTest {

ChildProcess::ChildProcess(std::vector<std::string> const& argv, std::string const& outputPath,
                           bool withInput, std::vector<std::string> const& environment) {
  int pipeFds[2] = {-1, -1};
  if (withInput && pipe2(pipeFds, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot create a pipe");
  }
  int const output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  // Everything the child needs is prepared before fork, so that it only calls async-signal-safe
  // functions afterwards.
  std::vector<char*> args;
  for (auto const& arg : argv) {
    args.push_back(const_cast<char*>(arg.c_str()));
  }
  args.push_back(nullptr);
  std::vector<char*> env;
  for (char** e = environ; *e; ++e) {
    env.push_back(*e);
  }
  for (auto const& variable : environment) {
    env.push_back(const_cast<char*>(variable.c_str()));
  }
  env.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    setpgid(0, 0);
    int const input = withInput ? pipeFds[0] : open("/dev/null", O_RDONLY);
    dup2(input, 0);
    dup2(output, 1);
    dup2(output, 2);
    execve(args[0], args.data(), env.data());
    _exit(127);
  }
  // Set here as well, so that the group exists whichever of the two runs first.
  setpgid(pid_, pid_);
  close(output);
  if (withInput) {
    close(pipeFds[0]);
    input_ = pipeFds[1];
  }
  if (pid_ < 0) {
    throw std::runtime_error("cannot fork");
  }
}

ChildProcess::~ChildProcess() {
  closeInput();
  // SIGTERM first, so that a speaker ends and reaps the helpers it started; SIGKILL for
  // whatever is left of the group.
  kill(-pid_, SIGTERM);
  eventually([this] { return exited(); }, std::chrono::seconds(2));
  kill(-pid_, SIGKILL);
  if (!status_) {
    waitpid(pid_, nullptr, 0);
  }
}

void ChildProcess::lineIs(std::string const& line) {
  std::string const text = line + "\n";
  for (std::size_t done = 0; done < text.size();) {
    ssize_t const n = write(input_, text.data() + done, text.size() - done);
    if (n <= 0) {
      throw std::runtime_error("cannot write to the child's input");
    }
    done += static_cast<std::size_t>(n);
  }
}

void ChildProcess::closeInput() {
  if (input_ >= 0) {
    close(input_);
    input_ = -1;
  }
}

bool ChildProcess::exited() {
  int status = 0;
  if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
    status_ = status;
  }
  return status_.has_value();
}

std::optional<int> ChildProcess::stop(int signal, std::chrono::milliseconds timeout) {
  if (!exited()) {
    kill(pid_, signal);
  }
  eventually([this] { return exited(); }, timeout);
  return status_;
}

bool eventually(std::function<bool()> const& done, std::chrono::milliseconds timeout) {
  auto const deadline = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return done();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

std::string fileText(std::string const& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace AgentTest
