// What a run says, kept as values.
#include "base/message_log.h"

#include <ostream>
#include <streambuf>
#include <string_view>
#include <utility>

namespace orvix {

struct MessageLog::Book {
    std::function<void(const Message&)> listener;
    std::vector<Message> messages;
    bool open = false;  ///< the last message may go on

    void write(Message::Stream stream, std::string_view text) {
        while (!text.empty()) {
            if (open && messages.back().stream != stream) {
                close();
            }
            if (!open) {
                messages.push_back({stream, {}});
                open = true;
            }
            const std::size_t end = text.find('\n');
            messages.back().text.append(text.substr(0, end == text.npos ? end : end + 1));
            if (end == text.npos) {
                return;
            }
            close();
            text.remove_prefix(end + 1);
        }
    }
    void close() {
        if (std::exchange(open, false) && listener) {
            listener(messages.back());
        }
    }
};

class MessageLog::Buffer : public std::streambuf {
  public:
    Buffer(Book& book, Message::Stream stream) : book_(book), stream_(stream) {}

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        book_.write(stream_, {text, static_cast<std::size_t>(count)});
        return count;
    }
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            const char letter = traits_type::to_char_type(c);
            book_.write(stream_, {&letter, 1});
        }
        return traits_type::not_eof(c);
    }

  private:
    Book& book_;
    Message::Stream stream_;
};

MessageLog::MessageLog(std::function<void(const Message&)> listener)
    : book_(std::make_unique<Book>()),
      outBuffer_(std::make_unique<Buffer>(*book_, Message::Stream::out)),
      errBuffer_(std::make_unique<Buffer>(*book_, Message::Stream::err)),
      out_(std::make_unique<std::ostream>(outBuffer_.get())),
      err_(std::make_unique<std::ostream>(errBuffer_.get())) {
    book_->listener = std::move(listener);
}

MessageLog::~MessageLog() = default;

Streams MessageLog::streams() {
    return {out_.get(), err_.get()};
}

std::vector<Message> MessageLog::take() {
    book_->close();
    return std::exchange(book_->messages, {});
}

void speak(const std::vector<Message>& messages) {
    for (const Message& message : messages) {
        (message.stream == Message::Stream::out ? out() : err()) << message.text;
    }
}

}  // namespace orvix
