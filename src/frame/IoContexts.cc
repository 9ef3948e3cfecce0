#include "frame/IoContexts.h"

#include <boost/asio/io_context.hpp>

namespace CfgAgent {

boost::asio::io_context& IoContexts::Timer() {
    static boost::asio::io_context context;
    return context;
}

boost::asio::io_context& IoContexts::Health() {
    static boost::asio::io_context context;
    return context;
}

}  // namespace CfgAgent
