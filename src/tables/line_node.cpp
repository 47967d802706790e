#include "tables/line_node.h"

#include <cstdio>
#include <utility>

#include "base/numbers.h"

LineNode::Val::Val(int number) noexcept : type(0), value(&store_) {
    store_.integer = number;
}

LineNode::Val::Val(float number) noexcept : type(1), value(&store_) {
    store_.real = number;
}

LineNode::Val::Val(std::string text) : type(2) {
    store_.text = new std::string(std::move(text));
    value = store_.text;
    ownsText_ = true;
}

LineNode::Val::Val(const Val& other) : type(other.type), value(&store_), store_(other.store_) {
    if (other.ownsText_) {
        store_.text = new std::string(*other.store_.text);
        value = store_.text;
        ownsText_ = true;
    }
}

LineNode::Val::Val(Val&& other) noexcept {
    take(other);
}

LineNode::Val& LineNode::Val::operator=(Val other) noexcept {
    release();
    take(other);
    return *this;
}

void LineNode::Val::release() noexcept {
    if (ownsText_) {
        delete store_.text;
        ownsText_ = false;
    }
}

// Leaves `other` as the integer 0. Its own text, if any, must be released before.
void LineNode::Val::take(Val& other) noexcept {
    type = other.type;
    store_ = other.store_;
    ownsText_ = other.ownsText_;
    value = ownsText_ ? static_cast<void*>(store_.text) : static_cast<void*>(&store_);
    other.type = 0;
    other.store_.integer = 0;
    other.ownsText_ = false;
    other.value = &other.store_;
}

LineNode::Val LineNode::Val::blank(int type) {
    if (type == 1) {
        return Val(0.0f);
    }
    return type == 2 ? Val(std::string(".")) : Val(0);
}

int LineNode::Val::toInt() const {
    switch (type) {
        case 0:
            return *static_cast<const int*>(value);
        case 1:
            return orvix::truncateToInt(static_cast<double>(*static_cast<const float*>(value)));
        default:
            return orvix::textToInt(*static_cast<const std::string*>(value));
    }
}

float LineNode::Val::toFloat() const {
    switch (type) {
        case 0:
            return static_cast<float>(*static_cast<const int*>(value));
        case 1:
            return *static_cast<const float*>(value);
        default:
            return orvix::textToFloat(*static_cast<const std::string*>(value));
    }
}

std::string LineNode::Val::toText() const {
    if (type == 0) {
        return std::to_string(*static_cast<const int*>(value));
    }
    if (type == 1) {
        char text[32];
        std::snprintf(text, sizeof text, "%g",
                      static_cast<double>(*static_cast<const float*>(value)));
        return text;
    }
    return *static_cast<const std::string*>(value);
}

LineNode::Val LineNode::Val::converted(int wanted) const {
    switch (wanted) {
        case 0:
            return Val(toInt());
        case 1:
            return Val(toFloat());
        default:
            return Val(toText());
    }
}

bool LineNode::Val::equals(const Val& other) const {
    if (type != other.type) {
        return false;
    }
    switch (type) {
        case 0:
            return toInt() == other.toInt();
        case 1:
            return toFloat() == other.toFloat();
        default:
            return *static_cast<const std::string*>(value) ==
                   *static_cast<const std::string*>(other.value);
    }
}
