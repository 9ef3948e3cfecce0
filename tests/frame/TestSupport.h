#pragma once

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "log/LogLevel.h"

namespace FrameTest {

using namespace std::chrono_literals;

// Long enough for a loaded sanitizer build; only a broken case waits it out.
constexpr std::chrono::milliseconds kBound = 10s;
// An absence can only be sampled; a correct case never waits less than this.
constexpr std::chrono::milliseconds kStillBlocked = 50ms;

// Keeps the lines that a case provokes off stdout.
class QuietConsole {
public:
    QuietConsole() : _saved(CfgAgent::LogLevel::console.exchange(0)) {}
    ~QuietConsole() { CfgAgent::LogLevel::console.store(_saved); }
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

private:
    int _saved;
};

template <typename Pred>
bool WaitUntil(Pred pred, std::chrono::milliseconds bound = kBound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!pred()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// A count that other threads raise and a case waits on.
class Signal {
public:
    void Raise() {
        {
            std::lock_guard<std::mutex> lock(_mutex);
            ++_count;
        }
        _cv.notify_all();
    }
    bool WaitFor(int count, std::chrono::milliseconds bound = kBound) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _cv.wait_for(lock, bound, [&] { return _count >= count; });
    }
    int Count() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _count;
    }

private:
    std::mutex _mutex;
    std::condition_variable _cv;
    int _count = 0;
};

// Runs a call on its own thread. One that is still blocked at the end is left
// behind: the case has failed by then, and hanging the binary helps nobody.
class Background {
public:
    explicit Background(std::function<void()> fn) : _done(std::make_shared<Signal>()) {
        _thread = std::thread([done = _done, fn = std::move(fn)] {
            fn();
            done->Raise();
        });
    }
    ~Background() {
        if (Done()) {
            _thread.join();
        } else {
            _thread.detach();
        }
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    bool Done(std::chrono::milliseconds bound = kBound) { return _done->WaitFor(1, bound); }

private:
    std::shared_ptr<Signal> _done;
    std::thread _thread;
};

// A file with the given content, removed again at the end of the case.
class TempFile {
public:
    explicit TempFile(const std::string& content) {
        char name[] = "/tmp/frame_test_XXXXXX";
        int fd = mkstemp(name);
        _path = name;
        if (fd >= 0) {
            ssize_t written = write(fd, content.data(), content.size());
            (void)written;
            close(fd);
        }
    }
    ~TempFile() { std::remove(_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& Path() const { return _path; }

private:
    std::string _path;
};

}  // namespace FrameTest
