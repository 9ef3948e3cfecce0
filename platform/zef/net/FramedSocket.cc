#include "zef/net/FramedSocket.h"

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

namespace zef::net {

FramedSocket::FramedSocket(boost::asio::ip::tcp::socket socket, uint32_t maxFrame)
    : _socket(std::move(socket)), _reader(maxFrame) {}

void FramedSocket::Start(FrameHandler onFrame, CloseHandler onClose) {
    _onFrame = std::move(onFrame);
    _onClose = std::move(onClose);
    boost::asio::post(_socket.get_executor(), [self = shared_from_this()] { self->Read(); });
}

void FramedSocket::Send(std::string body) {
    boost::asio::post(_socket.get_executor(),
                      [self = shared_from_this(), frame = FrameReader::Encode(body)]() mutable {
                          if (self->_closed) {
                              return;
                          }
                          self->_writes.push_back(std::move(frame));
                          if (self->_writes.size() == 1) {
                              self->WriteNext();
                          }
                      });
}

void FramedSocket::Close(const std::string& why) {
    boost::asio::post(_socket.get_executor(), [self = shared_from_this(), why] { self->Shut(why); });
}

void FramedSocket::Shut(const std::string& why) {
    if (_closed) {
        return;
    }
    _closed = true;
    boost::system::error_code ignored;
    _socket.shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
    _socket.close(ignored);
    _writes.clear();
    if (_onClose) {
        auto onClose = std::move(_onClose);
        _onFrame = nullptr;
        onClose(why);
    }
}

void FramedSocket::Read() {
    _socket.async_read_some(
        boost::asio::buffer(_chunk),
        [self = shared_from_this()](const boost::system::error_code& error, size_t size) {
            // A read that completed before a Close ran is dropped with the stream.
            if (self->_closed) {
                return;
            }
            if (error) {
                self->Shut(error.message());
                return;
            }
            self->_reader.Append(self->_chunk.data(), size);
            std::string frame;
            for (;;) {
                FrameReader::Status status = self->_reader.Next(frame);
                if (status == FrameReader::Status::NeedMore) {
                    break;
                }
                if (status == FrameReader::Status::TooLarge) {
                    self->Shut("frame too large");
                    return;
                }
                self->_onFrame(std::move(frame));
                if (self->_closed) {
                    return;
                }
            }
            self->Read();
        });
}

void FramedSocket::WriteNext() {
    boost::asio::async_write(
        _socket, boost::asio::buffer(_writes.front()),
        [self = shared_from_this()](const boost::system::error_code& error, size_t) {
            if (error) {
                self->Shut(error.message());
                return;
            }
            if (self->_closed) {
                return;
            }
            self->_writes.pop_front();
            if (!self->_writes.empty()) {
                self->WriteNext();
            }
        });
}

}  // namespace zef::net
