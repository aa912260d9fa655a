// quilby-host run as a child process, as a person or a script runs it: standard input from a file,
// standard output on a pipe the test reads while it runs, standard error in a file, in a directory
// of the test's own, with variables added to the environment (a sanitizer's options pass on).
// Every wait is bounded: a program still running after 20 s is killed and the test fails.
#ifndef QUILBY_TESTS_HOST_HOST_PROGRAM_H
#define QUILBY_TESTS_HOST_HOST_PROGRAM_H

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

extern char** environ;

namespace quilby_test {

inline std::string fileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

class HostProgram {
 public:
  HostProgram(std::vector<std::string> arguments, const std::filesystem::path& directory,
              std::vector<std::string> environment = {}, const std::string& input = "")
      : errors_(directory / "stderr.txt") {
    arguments.insert(arguments.begin(), QUILBY_HOST_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& variable : environment) envp.push_back(variable.data());
    for (char** entry = environ; *entry != nullptr; ++entry) envp.push_back(*entry);
    envp.push_back(nullptr);
    const std::filesystem::path in = directory / "stdin.txt";
    std::ofstream(in) << input;
    int out[2];
    EXPECT_EQ(pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors_.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    output_ = out[0];
  }
  ~HostProgram() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    close(output_);
  }
  HostProgram(const HostProgram&) = delete;
  HostProgram& operator=(const HostProgram&) = delete;

  // The next line of standard output with its newline; "" at its end.
  std::string line() {
    while (buffered_.find('\n') == std::string::npos && readMore()) {
    }
    const std::size_t end = buffered_.find('\n');
    const std::string next = buffered_.substr(0, end == std::string::npos ? end : end + 1);
    buffered_.erase(0, next.size());
    return next;
  }
  // All that standard output still has, up to its end.
  std::string rest() {
    while (readMore()) {
    }
    return std::exchange(buffered_, "");
  }
  // The exit status; -1 when it did not exit normally, -2 when it was still running after 20 s.
  int wait() {
    int status = 0;
    for (int tenths = 0; waitpid(pid_, &status, WNOHANG) == 0; ++tenths) {
      if (tenths == 200) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
        ADD_FAILURE() << "quilby-host did not end within 20 s";
        return -2;
      }
      usleep(100 * 1000);
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void signal(int number) { kill(pid_, number); }
  std::string errors() const { return fileText(errors_); }

 private:
  // False at the end of the output, or when nothing came for 20 s.
  bool readMore() {
    pollfd watch = {output_, POLLIN, 0};
    char bytes[65536];
    const ssize_t count = poll(&watch, 1, 20000) > 0 ? read(output_, bytes, sizeof bytes) : 0;
    if (count > 0) buffered_.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  }

  std::filesystem::path errors_;
  pid_t pid_ = -1;
  int output_ = -1;
  std::string buffered_;
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_HOST_HOST_PROGRAM_H
