#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "zef/net/FrameReader.h"

namespace zef::net {

// A TCP socket that carries length-prefixed frames. Reads and writes run on
// the socket's executor; Send and Close may be called from any thread.
class FramedSocket : public std::enable_shared_from_this<FramedSocket> {
public:
    using FrameHandler = std::function<void(std::string frame)>;
    // Called once, on the executor, when the stream ends for any reason.
    using CloseHandler = std::function<void(const std::string& why)>;

    FramedSocket(boost::asio::ip::tcp::socket socket, uint32_t maxFrame);
    FramedSocket(const FramedSocket&) = delete;
    FramedSocket& operator=(const FramedSocket&) = delete;

    void Start(FrameHandler onFrame, CloseHandler onClose);
    void Send(std::string body);
    void Close(const std::string& why);


private:
    void Read();
    void WriteNext();
    void Shut(const std::string& why);

    boost::asio::ip::tcp::socket _socket;
    FrameReader _reader;
    std::array<char, 16384> _chunk{};
    std::deque<std::string> _writes;
    FrameHandler _onFrame;
    CloseHandler _onClose;
    bool _closed = false;
};

}  // namespace zef::net
