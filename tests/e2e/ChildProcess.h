#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zef::test {

// A program started for a test, its output captured in files. The process is
// killed if the test leaves it running.
class ChildProcess {
public:
    ChildProcess(const std::string& program, const std::vector<std::string>& args,
                 const std::map<std::string, std::string>& env, const std::string& workDir);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The exit status, or nothing if the process is still running after `limit`.
    std::optional<int> Wait(std::chrono::milliseconds limit);
    void Signal(int signal);
    // Polls standard output for `text` until found or `limit` passes.
    bool WaitForOutput(const std::string& text, std::chrono::milliseconds limit) const;

    std::string Stdout() const;
    std::string Stderr() const;
    pid_t Pid() const { return _pid; }

private:
    pid_t _pid = -1;
    std::string _stdoutPath;
    std::string _stderrPath;
    std::optional<int> _status;
};

// A fresh directory under the system temp dir, removed with the object.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& Path() const { return _path; }
    // Writes `content` to `relative` under the directory, making parents.
    std::string Write(const std::string& relative, const std::string& content) const;

private:
    std::string _path;
};

// A loopback TCP port that was free a moment ago.
int FreePort();

}  // namespace zef::test
