#pragma once

#include <memory>

namespace boost::asio {
class io_context;
}

namespace zef {

// Makes one-shot timers on the provider's loop.
class TimerFactory {
public:
    explicit TimerFactory(boost::asio::io_context& context) : _context(context) {}
    boost::asio::io_context& Context() const { return _context; }

private:
    boost::asio::io_context& _context;
};

}  // namespace zef
