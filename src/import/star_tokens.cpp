#include "import/star_tokens.h"

#include <algorithm>

#include "base/run_end.h"
#include "base/text.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

bool startsFolded(std::string_view word, std::string_view upper) {
    return word.size() >= upper.size() && equalsFolded(word.substr(0, upper.size()), upper);
}

StarToken::Kind wordKind(std::string_view word) {
    using Kind = StarToken::Kind;
    switch (word[0]) {
        case '_':
            return word.size() > 1 ? Kind::tag : Kind::value;
        case 'd':
        case 'D':
            return startsFolded(word, "DATA_") && word.size() > 5 ? Kind::data : Kind::value;
        case 'l':
        case 'L':
            return equalsFolded(word, "LOOP_") ? Kind::loop : Kind::value;
        case 's':
        case 'S':
            if (startsFolded(word, "SAVE_")) {
                return word.size() > 5 ? Kind::frameStart : Kind::frameEnd;
            }
            return equalsFolded(word, "STOP_") ? Kind::stop : Kind::value;
        default:
            return Kind::value;
    }
}

}  // namespace

StarToken StarTokens::next() {
    skipBlanks();
    if (at_ >= text_.size()) {
        return {StarToken::Kind::end, {}, line_, false, false};
    }
    const char c = text_[at_];
    if (c == ';' && (at_ == 0 || text_[at_ - 1] == '\n')) {
        return textField();
    }
    if (c == '\'' || c == '"') {
        return quotedValue();
    }
    return word();
}

void StarTokens::skipBlanks() {
    while (at_ < text_.size()) {
        const char c = text_[at_];
        if (c == '#') {
            const std::size_t end = text_.find('\n', at_);
            at_ = end == std::string_view::npos ? text_.size() : end;
        } else if (isSpace(c)) {
            line_ += c == '\n' ? 1 : 0;
            ++at_;
        } else {
            return;
        }
    }
}

StarToken StarTokens::textField() {
    const int first = line_;
    const std::size_t begin = at_ + 1;
    for (std::size_t end = text_.find('\n', begin); end != std::string_view::npos;
         end = text_.find('\n', end + 1)) {
        ++line_;
        if (end + 1 < text_.size() && text_[end + 1] == ';') {
            at_ = end + 2;
            return {StarToken::Kind::value, text_.substr(begin, end - begin), first, true, false};
        }
    }
    throw InputRejected(atLine(path_, first,
                               "a text field opens here and is never closed; expected a line that "
                               "begins with a semicolon"));
}

StarToken StarTokens::quotedValue() {
    const char quote = text_[at_];
    const std::size_t begin = at_ + 1;
    std::size_t& searched = quote == '"' ? doubleSearched_ : singleSearched_;
    std::size_t end = begin;
    for (; end < text_.size() && text_[end] != '\n' && begin > searched; ++end) {
        if (text_[end] == quote && (end + 1 == text_.size() || isSpace(text_[end + 1]))) {
            at_ = end + 1;
            return {StarToken::Kind::value, text_.substr(begin, end - begin), line_, true, false};
        }
    }
    // A stray quote in some remark must not cost the whole file.
    searched = std::max(searched, end);
    StarToken token = word();
    token.unclosed = true;
    return token;
}

StarToken StarTokens::word() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && !isSpace(text_[at_])) {
        ++at_;
    }
    const std::string_view text = text_.substr(begin, at_ - begin);
    return {wordKind(text), text, line_, false, false};
}

}  // namespace orvix::importing
