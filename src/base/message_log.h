#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

#include "base/messages.h"
#include "base/streams.h"

namespace orvix {

/// A pair of streams that keeps what is written to it, line by line and in order over both. A line
/// that the other stream breaks into ends there.
class MessageLog {
  public:
    /// `listener` hears each message when it is complete; it may be empty.
    explicit MessageLog(std::function<void(const Message&)> listener = {});
    ~MessageLog();
    MessageLog(const MessageLog&) = delete;
    MessageLog& operator=(const MessageLog&) = delete;

    Streams streams();
    /// Everything up to now; the log is empty afterwards.
    std::vector<Message> take();

  private:
    struct Book;
    class Buffer;
    std::unique_ptr<Book> book_;
    std::unique_ptr<Buffer> outBuffer_, errBuffer_;
    std::unique_ptr<std::ostream> out_, err_;
};

/// Speaks messages on the streams of the calling thread.
void speak(const std::vector<Message>& messages);

}  // namespace orvix
