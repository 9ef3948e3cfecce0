#pragma once

#include <memory>

#include "frame/RefCounter.h"

namespace boost::asio {
class io_context;
}

namespace CfgAgent {

// A work item body that runs one io_context until the work group stops it.
class IOWorker : public RefCounter<IOWorker> {
public:
    explicit IOWorker(boost::asio::io_context& context);
    ~IOWorker();
    IOWorker(const IOWorker&) = delete;
    IOWorker& operator=(const IOWorker&) = delete;

    void Run();
    // Lets `run` return once the context has nothing left to do.
    void ReleaseGuard();

private:
    struct Guard;
    boost::asio::io_context& _context;
    std::unique_ptr<Guard> _guard;
};

}  // namespace CfgAgent
