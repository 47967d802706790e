#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/message_log.h"

namespace orvix {

/// Values by key, each loaded by the first who asks for it, with what its loading said. Others who
/// ask meanwhile wait for that key alone. A load that throws leaves nothing behind.
template <class Value>
class LoadedOnce {
  public:
    /// Keeps at most `most` values, those asked for last; 0 for all. Whoever has a value keeps it.
    explicit LoadedOnce(std::size_t most = 0) : most_(most) {}

    /// The value of `key`, made by `load` where there is none yet. The messages of its loading are
    /// spoken on the caller's streams, also when it fails.
    std::shared_ptr<const Value> get(const std::string& key,
                                     const std::function<std::shared_ptr<const Value>()>& load) {
        const std::shared_ptr<Slot> slot = slotOf(key);
        const std::lock_guard lock(slot->mutex);
        if (slot->value == nullptr) {
            MessageLog log;
            try {
                const ScopedStreams streams(log.streams());
                slot->value = load();
            } catch (...) {
                speak(log.take());
                throw;
            }
            slot->messages = log.take();
        }
        speak(slot->messages);
        return slot->value;
    }

  private:
    struct Slot {
        std::mutex mutex;
        std::shared_ptr<const Value> value;
        std::vector<Message> messages;
    };

    std::shared_ptr<Slot> slotOf(const std::string& key) {
        const std::lock_guard lock(mutex_);
        std::shared_ptr<Slot>& slot = slots_[key];
        if (slot == nullptr) {
            slot = std::make_shared<Slot>();
        }
        const std::shared_ptr<Slot> found = slot;
        if (most_ > 0) {
            recent_.remove(key);
            recent_.push_back(key);
            if (recent_.size() > most_) {
                slots_.erase(recent_.front());
                recent_.pop_front();
            }
        }
        return found;
    }

    std::size_t most_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Slot>> slots_;
    std::list<std::string> recent_;  ///< keys, the last one asked for at the end
};

}  // namespace orvix
