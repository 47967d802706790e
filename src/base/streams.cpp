#include "base/streams.h"

#include <iostream>
#include <utility>

namespace orvix {
namespace {

thread_local Streams current{nullptr, nullptr};

}  // namespace

std::ostream& out() {
    return current.out == nullptr ? std::cout : *current.out;
}

std::ostream& err() {
    return current.err == nullptr ? std::cerr : *current.err;
}

ScopedStreams::ScopedStreams(Streams streams) : before_(std::exchange(current, streams)) {}

ScopedStreams::~ScopedStreams() {
    current = before_;
}

}  // namespace orvix
