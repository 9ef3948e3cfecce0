#include "ChildProcess.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace zef::test {

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const std::map<std::string, std::string>& env,
                           const std::string& workDir)
    : _stdoutPath(workDir + "/stdout.txt"), _stderrPath(workDir + "/stderr.txt") {
    std::vector<std::string> argvText{program};
    argvText.insert(argvText.end(), args.begin(), args.end());
    _pid = fork();
    if (_pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (_pid == 0) {
        int out = open(_stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(_stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        for (const auto& [name, value] : env) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        std::vector<char*> argv;
        for (std::string& arg : argvText) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() {
    if (!_status) {
        kill(_pid, SIGKILL);
        waitpid(_pid, nullptr, 0);
    }
}

std::optional<int> ChildProcess::Wait(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!_status) {
        int status = 0;
        pid_t done = waitpid(_pid, &status, WNOHANG);
        if (done == _pid) {
            _status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return _status;
}

void ChildProcess::Signal(int signal) {
    if (!_status) {
        kill(_pid, signal);
    }
}

bool ChildProcess::WaitForOutput(const std::string& text, std::chrono::milliseconds limit) const {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (Stdout().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::string ChildProcess::Stdout() const { return ReadFile(_stdoutPath); }

std::string ChildProcess::Stderr() const { return ReadFile(_stderrPath); }

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zef-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    _path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

std::string TempDir::Write(const std::string& relative, const std::string& content) const {
    std::filesystem::path path = std::filesystem::path(_path) / relative;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << content;
    return path.string();
}

int FreePort() {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);
    return ntohs(address.sin_port);
}

}  // namespace zef::test
