#pragma once

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace orvix::search {

/// The highest `limit` distinct scores of a scan, each with the database row that had it last.
///
/// Stands for an ordered map that takes every score above a threshold and is cut to its highest
/// `limit` entries at the end of each protein block, where the threshold becomes the lowest score
/// that is left. A score that the cut would remove can never come back within its block (scores
/// above it only get more), so this keeps no more than `limit` entries at any time and merely
/// remembers that one fell out.
///
/// Scores lie in buckets of falling order, so that an insertion moves little memory.
class TopScores {
  public:
    explicit TopScores(int limit) : limit_(limit) {
        buckets_.resize(static_cast<std::size_t>(limit) / (bucketSize / 2) + 3);
        for (std::size_t b = buckets_.size(); b-- > 0;) {
            free_.push_back(static_cast<int>(b));
        }
        minima_.resize(buckets_.size());
        order_.resize(buckets_.size());
    }

    /// Only scores above this enter.
    float threshold() const { return threshold_; }

    /// Takes a score above the threshold (no NaN). An equal score takes over the row.
    void insert(float score, int row) {
        int at = 0;
        for (int b = 0; b < used_; ++b) {
            at += minima_[static_cast<std::size_t>(b)] > score ? 1 : 0;
        }
        if (at == used_) {
            if (size_ == limit_) {
                overflow_ = true;
                return;
            }
            if (used_ == 0) {
                open(0);
            }
            at = used_ - 1;
        }
        Bucket* bucket = &bucketAt(at);
        int rank = bucket->rankOf(score);
        if (rank < bucket->count && bucket->scores[rank] == score) {
            bucket->rows[rank] = row;
            return;
        }
        if (bucket->count == bucketSize) {
            split(at);
            if (rank > bucketSize / 2) {
                rank -= bucketSize / 2;
                ++at;
            }
            bucket = &bucketAt(at);
        }
        for (int k = bucket->count; k > rank; --k) {
            bucket->scores[k] = bucket->scores[k - 1];
            bucket->rows[k] = bucket->rows[k - 1];
        }
        bucket->scores[rank] = score;
        bucket->rows[rank] = row;
        ++bucket->count;
        minima_[static_cast<std::size_t>(at)] = bucket->lowest();
        if (++size_ > limit_) {
            dropLowest();
        }
    }

    /// Ends a protein block: moves the threshold if scores fell out since the last one.
    void endBlock() {
        if (overflow_) {
            overflow_ = false;
            threshold_ = minima_[static_cast<std::size_t>(used_ - 1)];
        }
    }

    /// All entries from the highest score to the lowest.
    std::vector<std::pair<float, int>> descending() const {
        std::vector<std::pair<float, int>> entries;
        entries.reserve(static_cast<std::size_t>(size_));
        for (int b = 0; b < used_; ++b) {
            const Bucket& bucket = bucketAt(b);
            for (int k = 0; k < bucket.count; ++k) {
                entries.emplace_back(bucket.scores[k], bucket.rows[k]);
            }
        }
        return entries;
    }

  private:
    static constexpr int bucketSize = 64;

    struct Bucket {
        float scores[bucketSize];  ///< falling; unused places hold -infinity
        int rows[bucketSize];
        int count;

        /// Number of scores above `score`: a full count without branches is faster than a search.
        int rankOf(float score) const {
            int rank = 0;
            for (float s : scores) {
                rank += s > score ? 1 : 0;
            }
            return rank;
        }
        float lowest() const { return scores[count - 1]; }
    };

    Bucket& bucketAt(int place) {
        return buckets_[static_cast<std::size_t>(order_[static_cast<std::size_t>(place)])];
    }
    const Bucket& bucketAt(int place) const {
        return buckets_[static_cast<std::size_t>(order_[static_cast<std::size_t>(place)])];
    }

    /// Puts an empty bucket at `place` of the order.
    void open(int place) {
        const int bucket = free_.back();
        free_.pop_back();
        for (int b = used_; b > place; --b) {
            order_[static_cast<std::size_t>(b)] = order_[static_cast<std::size_t>(b - 1)];
            minima_[static_cast<std::size_t>(b)] = minima_[static_cast<std::size_t>(b - 1)];
        }
        order_[static_cast<std::size_t>(place)] = bucket;
        ++used_;
        Bucket& fresh = bucketAt(place);
        fresh.count = 0;
        for (float& score : fresh.scores) {
            score = -std::numeric_limits<float>::infinity();
        }
    }

    /// Moves the lower half of a full bucket into a new one behind it.
    void split(int place) {
        open(place + 1);
        Bucket& upper = bucketAt(place);
        Bucket& lower = bucketAt(place + 1);
        constexpr int half = bucketSize / 2;
        for (int k = 0; k < half; ++k) {
            lower.scores[k] = upper.scores[half + k];
            lower.rows[k] = upper.rows[half + k];
            upper.scores[half + k] = -std::numeric_limits<float>::infinity();
        }
        lower.count = half;
        upper.count = half;
        minima_[static_cast<std::size_t>(place)] = upper.lowest();
        minima_[static_cast<std::size_t>(place + 1)] = lower.lowest();
    }

    void dropLowest() {
        Bucket& last = bucketAt(used_ - 1);
        --last.count;
        last.scores[last.count] = -std::numeric_limits<float>::infinity();
        if (last.count == 0) {
            free_.push_back(order_[static_cast<std::size_t>(used_ - 1)]);
            --used_;
        } else {
            minima_[static_cast<std::size_t>(used_ - 1)] = last.lowest();
        }
        --size_;
        overflow_ = true;
    }

    int limit_;
    int size_ = 0;
    int used_ = 0;  ///< buckets in use
    bool overflow_ = false;
    float threshold_ = -999.0F;
    std::vector<Bucket> buckets_;
    std::vector<int> order_;     ///< buckets from the highest scores to the lowest
    std::vector<float> minima_;  ///< lowest score of each, in the same order
    std::vector<int> free_;
};

}  // namespace orvix::search
