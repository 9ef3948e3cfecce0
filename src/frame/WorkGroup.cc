#include "frame/WorkGroup.h"

#include <pthread.h>

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>

#include "frame/AgentLock.h"
#include "frame/IOWorker.h"
#include "frame/IoContexts.h"
#include "frame/WorkItemImpl.h"
#include "log/Logger.h"
#include "zef/RefPtr.h"
#include "zef/metrics/FrequencyCounter.h"
#include "zef/metrics/LatencyCounter.h"
#include "zef/metrics/MetricsRegistry.h"
#include "zef/metrics/UnitCounter.h"

namespace CfgAgent {

namespace {

WorkGroup::ThreadCounts threadCounts{static_cast<int>(std::thread::hardware_concurrency()), 32};
std::unique_ptr<WorkGroup> processGroup;
std::vector<zef::RefPtr<IOWorker>> ioWorkers;

int64_t SteadyNanos() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

template <typename T>
std::shared_ptr<T> Metric(zef::metrics::MetricsRegistry& registry, const char* name) {
    std::shared_ptr<T> value = registry.check_or_create_value<T>(name);
    // A name taken by another type was logged by the registry; count privately.
    return value ? value : std::make_shared<T>();
}

void AddIOWorker(WorkGroup& group, boost::asio::io_context& context) {
    zef::RefPtr<IOWorker> worker = zef::MakeRef<IOWorker>(context);
    ioWorkers.push_back(worker);
    group.Enqueue(std::make_shared<WorkItemImpl<IOWorker>>(worker.get(), &IOWorker::Run));
}

}  // namespace

void WorkGroup::SetThreadCounts(const ThreadCounts& counts) {
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    threadCounts = counts;
}

WorkGroup::ThreadCounts WorkGroup::GetThreadCounts() {
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    return threadCounts;
}

void WorkGroup::Start(zef::metrics::MetricsRegistry& metrics) {
    ThreadCounts counts = GetThreadCounts();
    IoContexts::Timer().restart();
    IoContexts::Health().restart();
    processGroup =
        std::make_unique<WorkGroup>(static_cast<unsigned>(std::max(counts.workThreads, 0)), -1,
                                    metrics);
    for (int i = 0; i < counts.ioThreads; ++i) {
        AddIOWorker(*processGroup, IoContexts::Timer());
    }
    AddIOWorker(*processGroup, IoContexts::Health());
}

WorkGroup* WorkGroup::Instance() { return processGroup.get(); }

void WorkGroup::Stop() {
    for (zef::RefPtr<IOWorker>& worker : ioWorkers) {
        worker->ReleaseGuard();
    }
    ioWorkers.clear();
    IoContexts::Timer().stop();
    IoContexts::Health().stop();
    if (processGroup) {
        processGroup->Shutdown();
        processGroup.reset();
    }
}

WorkGroup::WorkGroup(unsigned threadCount, int limit, zef::metrics::MetricsRegistry& metrics)
    : threadCount(threadCount),
      limit(limit),
      _queueLength(Metric<zef::metrics::UnitCounter>(metrics, "work_group/queue/length")),
      _enqueueFreq(Metric<zef::metrics::FrequencyCounter>(metrics, "work_group/queue/enqueue_freq")),
      _dequeueFreq(Metric<zef::metrics::FrequencyCounter>(metrics, "work_group/queue/dequeue_freq")),
      _queuedTime(Metric<zef::metrics::LatencyCounter>(metrics, "work_group/item/queued_time")),
      _processingTime(
          Metric<zef::metrics::LatencyCounter>(metrics, "work_group/item/processing_time")),
      _idleCount(Metric<zef::metrics::UnitCounter>(metrics, "work_group/thread/idle_count")) {
    _threads.reserve(threadCount);
    for (unsigned i = 0; i < threadCount; ++i) {
        _threads.emplace_back([this, i] {
            pthread_setname_np(pthread_self(), ("zef-work-" + std::to_string(i)).c_str());
            ThreadLoop();
        });
    }
}

WorkGroup::~WorkGroup() {
    try {
        Shutdown();
    } catch (const std::exception&) {
        CFG_LOG(LL_ERROR, "Failed to stop work group");
    }
}

bool WorkGroup::Enqueue(std::shared_ptr<WorkItem> item) {
    std::lock_guard<std::mutex> guard(_mutex);
    // After stop no thread would ever run the item.
    if (!running || (limit != -1 && _queue.size() >= static_cast<size_t>(limit))) {
        return false;
    }
    item->enqueueTime = SteadyNanos();
    _queue.push_back(std::move(item));
    _queueLength->Increment();
    _enqueueFreq->Mark();
    if (idleThreads != 0) {
        _condition.notify_one();
    }
    return true;
}

void WorkGroup::Shutdown() {
    const auto self = std::this_thread::get_id();
    if (std::any_of(_threads.begin(), _threads.end(),
                    [self](const std::thread& thread) { return thread.get_id() == self; })) {
        // A pool thread cannot join its own group.
        throw std::logic_error("work group stopped from one of its own threads");
    }
    {
        std::lock_guard<std::mutex> guard(_mutex);
        running = false;
        _condition.notify_all();
    }
    for (std::thread& thread : _threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
    _threads.clear();
}

void WorkGroup::ThreadLoop() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        if (!_queue.empty()) {
            RunItem(lock);
        } else if (running) {
            ++idleThreads;
            _idleCount->Increment();
            _condition.wait(lock);
            --idleThreads;
            _idleCount->Decrement();
        } else {
            return;
        }
    }
}

void WorkGroup::RunItem(std::unique_lock<std::mutex>& lock) {
    std::shared_ptr<WorkItem> item = std::move(_queue.front());
    _queue.pop_front();
    _dequeueFreq->Mark();
    _queueLength->Decrement();
    const int64_t start = SteadyNanos();
    _queuedTime->Record(static_cast<uint64_t>(std::max<int64_t>(start - item->enqueueTime, 0)) /
                        1000);
    lock.unlock();
    try {
        item->Run();
    } catch (const std::exception& e) {
        CFG_LOG(LL_ERROR, "Work item failed: %1", e.what());
    }
    _processingTime->Record(static_cast<uint64_t>(SteadyNanos() - start) / 1000);
    item.reset();
    lock.lock();
}

}  // namespace CfgAgent
