#include "zef/sha/ShaPmClient.h"

#include <pthread.h>

#include <algorithm>

#include "log/zef/Logger.h"
#include "sha.pb.h"
#include "zef/LibraryLogLevels.h"

namespace zef::sha {

ShaPmClient::ShaPmClient(std::string name) : _name(std::move(name)) {}

ShaPmClient::~ShaPmClient() { Stop(); }

void ShaPmClient::Start() {
    std::lock_guard<std::mutex> guard(_mutex);
    if (_running) {
        return;
    }
    _running = true;
    _thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "zef-sha");
        Loop();
    });
}

void ShaPmClient::Stop() {
    {
        std::lock_guard<std::mutex> guard(_mutex);
        _running = false;
        _wake.notify_all();
    }
    if (_thread.joinable()) {
        _thread.join();
    }
}

bool ShaPmClient::RegisterCombinedMessageMetricCollection(const std::string& name,
                                                          CombinedCallback callback, void* context,
                                                          uint32_t periodSeconds) {
    std::lock_guard<std::mutex> guard(_mutex);
    Collection& collection = _collections[name];
    collection.callback = std::move(callback);
    collection.context = context;
    collection.period = std::chrono::seconds(std::max<uint32_t>(periodSeconds, 1));
    collection.due = Clock::now();
    return true;
}

void ShaPmClient::UnregisterMetricCollectionAll() {
    std::lock_guard<std::mutex> guard(_mutex);
    _collections.clear();
}

void ShaPmClient::StartMetricCollection() {
    std::lock_guard<std::mutex> guard(_mutex);
    _collecting = true;
    _wake.notify_all();
}

void ShaPmClient::StopMetricCollection() {
    std::lock_guard<std::mutex> guard(_mutex);
    _collecting = false;
}

void ShaPmClient::StartProcessHeartbeat(uint32_t intervalSeconds, uint32_t) {
    std::lock_guard<std::mutex> guard(_mutex);
    _beating = true;
    _beatInterval = std::chrono::seconds(std::max<uint32_t>(intervalSeconds, 1));
    _beatDue = Clock::now();
    _wake.notify_all();
}

void ShaPmClient::StopProcessHeartbeat() {
    std::lock_guard<std::mutex> guard(_mutex);
    _beating = false;
}

std::string ShaPmClient::LastCombinedMessage(const std::string& name) const {
    std::lock_guard<std::mutex> guard(_mutex);
    auto it = _collections.find(name);
    return it == _collections.end() ? std::string() : it->second.last;
}

uint64_t ShaPmClient::HeartbeatCount() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _beats;
}

ShaPmClient::Clock::time_point ShaPmClient::NextWake() const {
    Clock::time_point next = Clock::now() + std::chrono::hours(1);
    if (_collecting) {
        for (const auto& [name, collection] : _collections) {
            next = std::min(next, collection.due);
        }
    }
    if (_beating) {
        next = std::min(next, _beatDue);
    }
    return next;
}

void ShaPmClient::CollectDue(std::unique_lock<std::mutex>& lock, Clock::time_point now) {
    for (auto& [name, collection] : _collections) {
        if (collection.due > now) {
            continue;
        }
        collection.due = now + collection.period;
        CombinedCallback callback = collection.callback;
        void* context = collection.context;
        const std::string key = name;
        lock.unlock();
        auto message = callback(context);
        lock.lock();
        auto it = _collections.find(key);
        if (message && it != _collections.end()) {
            it->second.last = message->ShortDebugString();
        }
        // The map may have changed while unlocked; the rest waits for the next pass.
        return;
    }
}

void ShaPmClient::Loop() {
    std::unique_lock<std::mutex> lock(_mutex);
    while (_running) {
        const Clock::time_point now = Clock::now();
        if (_beating && _beatDue <= now) {
            ++_beats;
            _beatDue = now + _beatInterval;
            ZEF_LIB_LOG(library_log_level, LIB_LOG_TRACE)
                .s2comp("zef-sha")
                .put("%s heartbeat %lu", _name.c_str(), static_cast<unsigned long>(_beats));
        }
        if (_collecting) {
            CollectDue(lock, now);
            if (!_running) {
                break;
            }
        }
        _wake.wait_until(lock, NextWake());
    }
}

}  // namespace zef::sha
