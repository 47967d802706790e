#include "import/star_document.h"

#include "base/run_end.h"
#include "base/text.h"
#include "import/shift_text.h"
#include "import/star_tokens.h"

namespace orvix::importing {

namespace {

// Takes the tokens one by one; there is no nesting beyond loop in frame, so its state is flat.
class DocumentBuilder {
  public:
    DocumentBuilder(StarDocument& document, std::string path)
        : document_(document), path_(std::move(path)) {
        openFrame({}, 1);
    }

    void take(const StarToken& token) {
        using Kind = StarToken::Kind;
        switch (token.kind) {
            case Kind::data:
                // Inside a frame the word can only be a value that happens to look like a heading.
                if (inFrame_ && (inLoop_ || !pendingTag_.empty())) {
                    takeValue(token);
                    return;
                }
                leaveFrame(token.line);
                if (++document_.blockCount == 2) {
                    document_.remarks.push_back(atLine(
                        path_, token.line, "a second data block begins; both are read as one"));
                }
                return;
            case Kind::frameStart:
                leaveFrame(token.line);
                openFrame(token.text.substr(5), token.line);
                inFrame_ = true;
                return;
            case Kind::frameEnd:
                leaveFrame(token.line);
                return;
            case Kind::loop:
                closeItem(token.line);
                closeLoop();
                frame().loops.emplace_back();
                frame().loops.back().line = token.line;
                inLoop_ = true;
                inHeader_ = true;
                return;
            case Kind::stop:
                closeItem(token.line);
                closeLoop();
                return;
            case Kind::tag:
                takeTag(token);
                return;
            case Kind::value:
                takeValue(token);
                return;
            case Kind::end:
                closeItem(token.line);
                return;
        }
    }

  private:
    StarFrame& frame() { return document_.frames.back(); }
    StarLoop& loop() { return frame().loops.back(); }

    void openFrame(std::string_view name, int line) {
        document_.frames.emplace_back();
        frame().name = name;
        frame().line = line;
    }

    void leaveFrame(int line) {
        closeItem(line);
        closeLoop();
        if (inFrame_) {
            inFrame_ = false;
            openFrame({}, line);
        }
    }

    void closeItem(int line) {
        if (!pendingTag_.empty()) {
            document_.remarks.push_back(
                atLine(path_, line, "the tag " + pendingTag_ + " has no value"));
            pendingTag_.clear();
        }
    }

    void closeLoop() {
        if (inLoop_) {
            loop().closed = true;
            inLoop_ = false;
        }
    }

    void takeTag(const StarToken& token) {
        if (inLoop_ && inHeader_) {
            loop().tags.push_back(foldLower(token.text));
            return;
        }
        closeItem(token.line);
        closeLoop();
        pendingTag_ = foldLower(token.text);
    }

    void takeValue(const StarToken& token) {
        if (token.unclosed) {
            document_.remarks.push_back(
                atLine(path_, token.line, "a quote is not closed and stands as part of its word"));
        }
        const StarValue value{token.text, token.line, !token.quoted && isMissing(token.text)};
        if (inLoop_) {
            inHeader_ = false;
            loop().values.push_back(value);
        } else if (!pendingTag_.empty()) {
            frame().items.emplace_back(std::move(pendingTag_), value);
            pendingTag_.clear();
        } else {
            document_.remarks.push_back(
                atLine(path_, token.line,
                       "a value without a tag: " + std::string(token.text.substr(0, 40))));
        }
    }

    StarDocument& document_;
    std::string path_;
    std::string pendingTag_;
    bool inFrame_ = false;
    bool inLoop_ = false;
    bool inHeader_ = false;
};

}  // namespace

std::size_t StarLoop::column(std::string_view tag) const {
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (tags[i] == tag) {
            return i;
        }
    }
    return none;
}

StarValue StarLoop::cell(std::size_t row, std::size_t column) const {
    if (column == none) {
        return {{}, line, true};
    }
    return values[row * tags.size() + column];
}

StarValue StarFrame::item(std::string_view tag) const {
    for (const auto& [name_, value] : items) {
        if (name_ == tag) {
            return value;
        }
    }
    return {{}, line, true};
}

std::vector<const StarLoop*> StarFrame::loopsWith(std::string_view tag) const {
    std::vector<const StarLoop*> found;
    for (const StarLoop& loop : loops) {
        if (loop.column(tag) != StarLoop::none) {
            found.push_back(&loop);
        }
    }
    return found;
}

StarDocument::StarDocument(std::string_view text, const std::string& path) {
    StarTokens tokens(text, path);
    DocumentBuilder builder(*this, path);
    for (;;) {
        const StarToken token = tokens.next();
        builder.take(token);
        if (token.kind == StarToken::Kind::end) {
            return;
        }
    }
}

void requireWholeRows(const StarLoop& loop, const std::string& path) {
    const std::size_t width = loop.tags.size();
    if (!loop.closed || width == 0 || loop.values.size() % width == 0) {
        return;
    }
    // Archives write one row a line: the first line with another count is out of step.
    int line = loop.values.back().line;
    for (std::size_t i = 0; i < loop.values.size();) {
        std::size_t end = i + 1;
        while (end < loop.values.size() && loop.values[end].line == loop.values[i].line) {
            ++end;
        }
        if (end - i != width) {
            line = loop.values[i].line;
            break;
        }
        i = end;
    }
    throw InputRejected(atLine(path, line,
                               "the rows of this loop have " + std::to_string(width) +
                                   " columns, but its " + std::to_string(loop.values.size()) +
                                   " values don't fill whole rows; expected " +
                                   std::to_string(width) + " values in each row"));
}

void reportIncompleteRow(const StarLoop& loop, ImportReport& report) {
    const std::size_t rest = loop.tags.empty() ? 0 : loop.values.size() % loop.tags.size();
    if (rest == 0) {
        return;
    }
    const std::size_t first = loop.values.size() - rest;
    std::string text = "line " + std::to_string(loop.values[first].line) + ":";
    for (std::size_t i = first; i < loop.values.size(); ++i) {
        text += " " + simplifyWhiteSpace(loop.values[i].text);
    }
    report.add(ImportFinding::rowIncomplete, text);
    report.warn("the file ends within a row of a shift loop");
}

std::string plainText(const StarValue& value) {
    return value.missing ? std::string() : simplifyWhiteSpace(value.text);
}

std::string labelText(const StarValue& value) {
    std::string text = plainText(value);
    if (text.starts_with('$')) {
        text.erase(0, 1);
    }
    return text;
}

}  // namespace orvix::importing
