#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "frame/WorkItem.h"

namespace zef::metrics {
class MetricsRegistry;
class UnitCounter;
class FrequencyCounter;
class LatencyCounter;
}  // namespace zef::metrics

namespace CfgAgent {

// A pool of named threads over one FIFO of work items. The process has one,
// made by Start; tests may make their own.
class WorkGroup {
public:
    struct ThreadCounts {
        int ioThreads = 0;
        int workThreads = 32;
    };

    // The process settings, kept under agentLock until Start reads them.
    static void SetThreadCounts(const ThreadCounts& counts);
    static ThreadCounts GetThreadCounts();

    // Makes the process group with `workThreads` threads and puts one IOWorker
    // per `ioThreads` on the timer context and one on the health context.
    static void Start(zef::metrics::MetricsRegistry& metrics);
    // The process group, null outside Start..Stop.
    static WorkGroup* Instance();
    // Owners end their loop items before this: it stops the contexts under the
    // IOWorkers first, since a pending timer would keep `run` busy, then lets
    // the threads drain the queue and joins them.
    static void Stop();

    WorkGroup(unsigned threadCount, int limit, zef::metrics::MetricsRegistry& metrics);
    ~WorkGroup();
    WorkGroup(const WorkGroup&) = delete;
    WorkGroup& operator=(const WorkGroup&) = delete;

    bool Enqueue(std::shared_ptr<WorkItem> item);
    // Clears `running`, wakes every thread and joins them once the queue is empty.
    void Shutdown();

private:
    void ThreadLoop();
    void RunItem(std::unique_lock<std::mutex>& lock);

    unsigned threadCount;
    int limit;
    bool running = true;
    int idleThreads = 0;
    std::deque<std::shared_ptr<WorkItem>> _queue;
    std::mutex _mutex;
    std::condition_variable _condition;
    std::vector<std::thread> _threads;

    std::shared_ptr<zef::metrics::UnitCounter> _queueLength;
    std::shared_ptr<zef::metrics::FrequencyCounter> _enqueueFreq;
    std::shared_ptr<zef::metrics::FrequencyCounter> _dequeueFreq;
    std::shared_ptr<zef::metrics::LatencyCounter> _queuedTime;
    std::shared_ptr<zef::metrics::LatencyCounter> _processingTime;
    std::shared_ptr<zef::metrics::UnitCounter> _idleCount;
};

}  // namespace CfgAgent
