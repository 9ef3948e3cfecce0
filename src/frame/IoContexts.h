#pragma once

namespace boost::asio {
class io_context;
}

namespace CfgAgent {

// The agent's two timer contexts. The health context has an IOWorker of its
// own so that the one timer on it fires while all timer threads are busy.
class IoContexts {
public:
    static boost::asio::io_context& Timer();
    static boost::asio::io_context& Health();
};

}  // namespace CfgAgent
