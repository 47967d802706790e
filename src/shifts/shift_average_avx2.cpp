#include "base/cpu.h"
#include "shifts/shift_average_rows.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))

#include <immintrin.h>

// The functions below carry their instruction set themselves, and only it: nothing here may be
// inlined into code for every processor. There is no FMA in it, whose single rounding would change
// the scores.
#define ORVIX_AVX2 __attribute__((target("avx2")))

namespace orvix::shifts {
namespace {

constexpr int lanes = 4;
constexpr int groups = 4;  // vectors in flight, to hide the latency of the chain of additions
constexpr int blockRows = lanes * groups;
constexpr int columns = 18;

// Columns `column` .. `column` + 3 of four rows, as four vectors of one column each.
ORVIX_AVX2 inline void loadColumns(const double* const* rows, int column, __m256d* out) {
    const __m256d r0 = _mm256_loadu_pd(rows[0] + column);
    const __m256d r1 = _mm256_loadu_pd(rows[1] + column);
    const __m256d r2 = _mm256_loadu_pd(rows[2] + column);
    const __m256d r3 = _mm256_loadu_pd(rows[3] + column);
    const __m256d low01 = _mm256_unpacklo_pd(r0, r1);
    const __m256d high01 = _mm256_unpackhi_pd(r0, r1);
    const __m256d low23 = _mm256_unpacklo_pd(r2, r3);
    const __m256d high23 = _mm256_unpackhi_pd(r2, r3);
    out[0] = _mm256_permute2f128_pd(low01, low23, 0x20);
    out[1] = _mm256_permute2f128_pd(high01, high23, 0x20);
    out[2] = _mm256_permute2f128_pd(low01, low23, 0x31);
    out[3] = _mm256_permute2f128_pd(high01, high23, 0x31);
}

// Turns the observed shifts of a column into terms.
ORVIX_AVX2 inline __m256d atomTerm(const RowScorer& scorer, int column, __m256d observed) {
    const auto j = static_cast<std::size_t>(column);
    const __m256d absentTerm = _mm256_set1_pd(scorer.missingTerm[j]);
    if (scorer.queryMissing[j]) {
        return absentTerm;
    }
    const __m256d difference = _mm256_sub_pd(observed, _mm256_set1_pd(scorer.query[j]));
    const __m256d term =
        _mm256_mul_pd(_mm256_mul_pd(difference, difference), _mm256_set1_pd(scorer.weight[j]));
    const __m256d absent = _mm256_cmp_pd(observed, _mm256_set1_pd(999.0), _CMP_GT_OQ);
    return _mm256_blendv_pd(term, absentTerm, absent);
}

ORVIX_AVX2 inline __m128 addTerm(__m128 score, __m256d term) {
    return _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(score), term));
}

ORVIX_AVX2 void scoreBlock(const RowScorer& scorer, const ObservedRows& rows, int first,
                           float* scores) {
    __m256d terms[groups][columns + 2];
    double residueTerms[3][blockRows];
    for (int g = 0; g < groups; ++g) {
        const double* const* group = rows.shifts + first + g * lanes;
        for (int column = 0; column + lanes <= columns; column += lanes) {
            loadColumns(group, column, terms[g] + column);
        }
        // The last two columns: the vectors from two columns before hold them.
        __m256d tail[lanes];
        loadColumns(group, columns - lanes, tail);
        terms[g][columns - 2] = tail[2];
        terms[g][columns - 1] = tail[3];
        for (int lane = 0; lane < lanes; ++lane) {
            const std::string* names = rows.names[first + g * lanes + lane];
            for (std::size_t p = 0; p < 3; ++p) {
                residueTerms[p][g * lanes + lane] = scorer.nameTerm(p, names[p + 1]);
            }
        }
    }
    __m128 score[groups];
    for (int g = 0; g < groups; ++g) {
        score[g] = _mm_setzero_ps();
    }
    for (int p = 0; p < 3; ++p) {
        for (int column = p * 6; column < (p + 1) * 6; ++column) {
            for (int g = 0; g < groups; ++g) {
                score[g] = addTerm(score[g], atomTerm(scorer, column, terms[g][column]));
            }
        }
        for (int g = 0; g < groups; ++g) {
            score[g] = addTerm(score[g], _mm256_loadu_pd(residueTerms[p] + g * lanes));
        }
    }
    for (int g = 0; g < groups; ++g) {
        _mm_storeu_ps(scores + g * lanes, score[g]);
    }
}

}  // namespace

ORVIX_AVX2 void scoreRowsAvx2(const RowScorer& scorer, const ObservedRows& rows, int first,
                              int count, float* scores) {
    for (int i = 0; i < count; i += blockRows) {
        scoreBlock(scorer, rows, first + i, scores + i);
    }
}

bool hasAvx2Scoring() {
    return instructionLevel() >= InstructionLevel::avx2;
}

}  // namespace orvix::shifts

#else

namespace orvix::shifts {

void scoreRowsAvx2(const RowScorer& scorer, const ObservedRows& rows, int first, int count,
                   float* scores) {
    scoreRowsPortable(scorer, rows, first, count, scores);
}

bool hasAvx2Scoring() {
    return false;
}

}  // namespace orvix::shifts

#endif
