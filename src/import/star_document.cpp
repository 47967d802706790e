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
                if (inFrame_ && (inLoop_ || !pendingTags_.empty())) {
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
                frameEnded_ = true;
                leaveFrame(token.line);
                return;
            case Kind::loop:
                closeItems(token.line);
                closeLoop();
                openLoop(token.line);
                inHeader_ = true;
                return;
            case Kind::stop:
                closeItems(token.line);
                if (inLoop_) {
                    loop().stopped = true;
                }
                closeLoop();
                return;
            case Kind::tag:
                takeTag(token);
                return;
            case Kind::value:
                takeValue(token);
                return;
            case Kind::end:
                closeItems(token.line);
                if (inFrame_) {
                    tellOpenFrame();
                }
                if (inLoop_ && implicit_) {
                    revertImplicitLoop();
                }
                tellOpenLoops();
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
        closeItems(line);
        closeLoop();
        if (inFrame_) {
            if (!frameEnded_) {
                tellOpenFrame();
            }
            inFrame_ = false;
            openFrame({}, line);
        }
        frameEnded_ = false;
    }

    void tellOpenFrame() {
        document_.cuts.push_back("the frame " + frame().name + " from line " +
                                 std::to_string(frame().line) + " on has no closing save_");
    }

    void openLoop(int line) {
        frame().loops.emplace_back();
        loop().line = line;
        inLoop_ = true;
        implicit_ = false;
    }

    void remark(int line, const std::string& text) {
        document_.remarks.push_back(atLine(path_, line, text));
    }

    void remarkNoValue(int line, const std::string& tag) {
        remark(line, "the tag " + tag + " has no value");
    }

    void closeItems(int line) {
        for (const std::string& tag : pendingTags_) {
            remarkNoValue(line, tag);
        }
        pendingTags_.clear();
    }

    void closeLoop() {
        if (inLoop_ && implicit_) {
            revertImplicitLoop();
        }
        if (inLoop_) {
            loop().closed = true;
            inLoop_ = false;
        }
    }

    // Tags in a row and fewer values than tags: they were items after all.
    void revertImplicitLoop() {
        if (loop().values.size() >= loop().tags.size()) {
            return;
        }
        const StarLoop items = std::move(loop());
        frame().loops.pop_back();
        inLoop_ = false;
        for (std::size_t i = 0; i + 1 < items.tags.size(); ++i) {
            remarkNoValue(items.line, items.tags[i]);
        }
        frame().items.emplace_back(items.tags.back(), items.values[0]);
        for (std::size_t i = 1; i < items.values.size(); ++i) {
            remarkNoTag(items.values[i]);
        }
    }

    void remarkNoTag(const StarValue& value) {
        remark(value.line, "a value without a tag: " + std::string(value.text.substr(0, 40)));
    }

    void tellOpenLoops() {
        int open = 0;
        int firstOpen = 0;
        for (const StarFrame& frame : document_.frames) {
            for (const StarLoop& loop : frame.loops) {
                if (!loop.stopped && open++ == 0) {
                    firstOpen = loop.line;
                }
                const std::size_t width = loop.tags.size();
                if (width > 0 && loop.values.size() % width != 0) {
                    document_.cuts.push_back(
                        "the loop from line " + std::to_string(loop.line) +
                        " on ends within a row: " + std::to_string(loop.values.size() % width) +
                        " of " + std::to_string(width) + " values");
                }
            }
        }
        if (open > 0) {
            document_.cuts.push_back(
                (open == 1 ? "the loop from line " + std::to_string(firstOpen) + " on has"
                           : std::to_string(open) + " loops, the first from line " +
                                 std::to_string(firstOpen) + " on, have") +
                " no closing stop_");
        }
    }

    void takeTag(const StarToken& token) {
        if (inLoop_ && inHeader_) {
            loop().tags.push_back(foldLower(token.text));
            return;
        }
        closeLoop();
        if (pendingTags_.empty()) {
            pendingLine_ = token.line;
        }
        pendingTags_.push_back(foldLower(token.text));
    }

    void takeValue(const StarToken& token) {
        if (token.unclosed) {
            remark(token.line, "a quote is not closed and stands as part of its word");
        }
        const StarValue value{token.text, token.line, !token.quoted && isMissing(token.text)};
        if (pendingTags_.size() >= fewestLoopTags) {
            openLoop(pendingLine_);
            implicit_ = true;
            loop().tags = std::move(pendingTags_);
            pendingTags_.clear();
        }
        if (inLoop_) {
            inHeader_ = false;
            loop().values.push_back(value);
        } else if (!pendingTags_.empty()) {
            frame().items.emplace_back(std::move(pendingTags_.back()), value);
            pendingTags_.pop_back();
            closeItems(token.line);
        } else {
            remarkNoTag(value);
        }
    }

    // So many tags without a value begin a loop that has lost its `loop_`.
    static constexpr std::size_t fewestLoopTags = 3;

    StarDocument& document_;
    std::string path_;
    std::vector<std::string> pendingTags_;
    int pendingLine_ = 0;
    bool inFrame_ = false;
    bool frameEnded_ = false;
    bool inLoop_ = false;
    bool inHeader_ = false;
    bool implicit_ = false;  // the loop has no `loop_`
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

void reportOddities(const StarDocument& document, ImportReport& report) {
    for (const std::string& remark : document.remarks) {
        report.add(ImportFinding::unreadText, remark);
    }
    for (const std::string& cut : document.cuts) {
        report.warn("the file looks cut off: " + cut);
    }
}

void requireWholeRows(const StarLoop& loop, const std::string& path) {
    const std::size_t width = loop.tags.size();
    if (!loop.closed || width == 0 || loop.values.size() % width == 0) {
        return;
    }
    // Archives write one row a line: the first line with another count is out of step. When that is
    // a last line with too few values, the file was cut there.
    int line = loop.values.back().line;
    for (std::size_t i = 0; i < loop.values.size();) {
        std::size_t end = i + 1;
        while (end < loop.values.size() && loop.values[end].line == loop.values[i].line) {
            ++end;
        }
        if (end == loop.values.size() && end - i < width && i > 0) {
            return;
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
