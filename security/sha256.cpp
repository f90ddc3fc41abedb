#include "security/sha256.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace {

using Word = std::uint32_t;

// FIPS 180-4, 5.3.3.
constexpr Word initialHash[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

// FIPS 180-4, 4.2.2.
constexpr Word roundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

// The compilers know both idioms and make one instruction of each, whatever the byte order.
inline Word rotateRight(Word x, int n)
{
    return x >> n | x << (32 - n);
}

inline Word loadBigEndian(const unsigned char* p)
{
    return Word{p[0]} << 24 | Word{p[1]} << 16 | Word{p[2]} << 8 | Word{p[3]};
}

inline void storeBigEndian(unsigned char* p, Word x)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        *p++ = static_cast<unsigned char>(x >> shift);
}

// FIPS 180-4, 4.1.2. Rotations are nested where the standard's stand side by side: rotating what
// was rotated already gives the same word and needs a register less.
inline Word capitalSigma0(Word x)
{
    return rotateRight(rotateRight(rotateRight(x, 9) ^ x, 11) ^ x, 2);
}

inline Word capitalSigma1(Word x)
{
    return rotateRight(rotateRight(rotateRight(x, 14) ^ x, 5) ^ x, 6);
}

inline Word sigma0(Word x)
{
    return rotateRight(rotateRight(x, 11) ^ x, 7) ^ x >> 3;
}

inline Word sigma1(Word x)
{
    return rotateRight(rotateRight(x, 2) ^ x, 17) ^ x >> 10;
}

// What one block's compression needs. The rounds are templates inlined into one straight piece of
// code (the compiler would not do that by itself), so that every member and every schedule word has
// a constant place.
struct Compression {
    Word a, b, c, d, e, f, g, h;
    Word bXorC;         // the last round's a ^ b
    Word schedule[16];  // the last sixteen words of the message schedule
};

// The round's constant plus the next word of the message schedule, FIPS 180-4, 6.2.2, step 1: the
// block's own in the first sixteen rounds, computed from the last sixteen afterwards.
template <bool fromBlock, int n>
[[gnu::always_inline]] inline Word constantAndWord(Word* w, const Word* constants,
                                                   const unsigned char* block)
{
    if constexpr (fromBlock)
        w[n] = loadBigEndian(block + std::size_t{4} * n);
    else
        w[n] += sigma0(w[(n + 1) & 15]) + w[(n + 9) & 15] + sigma1(w[(n + 14) & 15]);
    return w[n] + constants[n];
}

// FIPS 180-4, 6.2.2, step 3, without moving the working variables along: the new "a" is left in h
// and the new "e" in d, and the caller names them accordingly in the next round. Ch and Maj are
// written with fewer operations than the standard's, equal for every input; Maj's b ^ c was the
// round before's a ^ b. The order of the additions matters to no result, only to the speed.
[[gnu::always_inline]] inline void oneRound(Word a, Word b, Word& d, Word e, Word f, Word g,
                                            Word& h, Word& bXorC, Word constantPlusWord)
{
    h += (((f ^ g) & e) ^ g) + constantPlusWord;
    h += capitalSigma1(e);
    d += h;
    const Word aXorB = a ^ b;
    h += capitalSigma0(a) + ((aXorB & bXorC) ^ b);
    bXorC = aXorB;
}

// Eight rounds bring every working variable back to its place.
template <bool fromBlock, int n>
[[gnu::always_inline]] inline void eightRounds(Compression& s, const Word* constants,
                                               const unsigned char* block)
{
    oneRound(s.a, s.b, s.d, s.e, s.f, s.g, s.h, s.bXorC,
             constantAndWord<fromBlock, n>(s.schedule, constants, block));
    oneRound(s.h, s.a, s.c, s.d, s.e, s.f, s.g, s.bXorC,
             constantAndWord<fromBlock, n + 1>(s.schedule, constants, block));
    oneRound(s.g, s.h, s.b, s.c, s.d, s.e, s.f, s.bXorC,
             constantAndWord<fromBlock, n + 2>(s.schedule, constants, block));
    oneRound(s.f, s.g, s.a, s.b, s.c, s.d, s.e, s.bXorC,
             constantAndWord<fromBlock, n + 3>(s.schedule, constants, block));
    oneRound(s.e, s.f, s.h, s.a, s.b, s.c, s.d, s.bXorC,
             constantAndWord<fromBlock, n + 4>(s.schedule, constants, block));
    oneRound(s.d, s.e, s.g, s.h, s.a, s.b, s.c, s.bXorC,
             constantAndWord<fromBlock, n + 5>(s.schedule, constants, block));
    oneRound(s.c, s.d, s.f, s.g, s.h, s.a, s.b, s.bXorC,
             constantAndWord<fromBlock, n + 6>(s.schedule, constants, block));
    oneRound(s.b, s.c, s.e, s.f, s.g, s.h, s.a, s.bXorC,
             constantAndWord<fromBlock, n + 7>(s.schedule, constants, block));
}

template <bool fromBlock>
[[gnu::always_inline]] inline void sixteenRounds(Compression& s, const Word* constants,
                                                 const unsigned char* block)
{
    eightRounds<fromBlock, 0>(s, constants, block);
    eightRounds<fromBlock, 8>(s, constants, block);
}

// FIPS 180-4, 6.2.2, for each block in turn.
void compress(Word* hash, const unsigned char* blocks, std::size_t count)
{
    for (; count > 0; --count, blocks += 64) {
        // Member by member: loops over an array would be vectorised, and the detour through
        // memory costs more than it saves.
        Compression s;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled at once
        s.a = hash[0], s.b = hash[1], s.c = hash[2], s.d = hash[3];
        s.e = hash[4], s.f = hash[5], s.g = hash[6], s.h = hash[7];
        s.bXorC = s.b ^ s.c;

        sixteenRounds<true>(s, roundConstants, blocks);
        for (int round = 16; round < 64; round += 16)
            sixteenRounds<false>(s, roundConstants + round, blocks);

        hash[0] += s.a, hash[1] += s.b, hash[2] += s.c, hash[3] += s.d;
        hash[4] += s.e, hash[5] += s.f, hash[6] += s.g, hash[7] += s.h;
    }
}

constexpr std::size_t lengthPosition = 56;  // of the message length in its last block

}  // namespace

SHA256::SHA256()
{
    static_assert(std::is_standard_layout_v<SHA256> && sizeof(unsigned int) == sizeof(Word) &&
                  offsetof(SHA256, lengthHigh_) == 0 && offsetof(SHA256, lengthLow_) == 4 &&
                  offsetof(SHA256, hash_) == 8 && offsetof(SHA256, buffered_) == 40 &&
                  offsetof(SHA256, buffer_) == 44 && offsetof(SHA256, computed_) == 108 &&
                  sizeof(SHA256) == 112);
    reset();
}

void SHA256::reset()
{
    std::copy(std::begin(initialHash), std::end(initialHash), hash_);
    lengthHigh_ = 0;
    lengthLow_ = 0;
    buffered_ = 0;
    computed_ = false;
}

void SHA256::input(const char* data, unsigned int length)
{
    if (data)
        append(reinterpret_cast<const unsigned char*>(data), length);
}

void SHA256::input(char c)
{
    input(&c, 1);
}

SHA256& SHA256::operator<<(const char* text)
{
    if (text)
        append(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
    return *this;
}

void SHA256::append(const unsigned char* data, std::size_t length)
{
    countBits(length);
    if (buffered_ > 0) {
        const auto buffered = static_cast<std::size_t>(buffered_);
        const std::size_t taken = std::min(length, blockSize - buffered);
        std::memcpy(buffer_ + buffered, data, taken);
        buffered_ += static_cast<int>(taken);
        data += taken;
        length -= taken;
        if (buffered + taken == blockSize)
            digest();
    }
    if (const std::size_t blocks = length / blockSize) {
        compress(hash_, data, blocks);
        data += blocks * blockSize;
        length %= blockSize;
        std::memcpy(buffer_, data - blockSize, blockSize);
    }
    if (length > 0) {  // the buffer is empty: nothing would be left otherwise
        std::memcpy(buffer_, data, length);
        buffered_ = static_cast<int>(length);
    }
}

void SHA256::countBits(std::size_t bytes)
{
    std::uint64_t bits = std::uint64_t{lengthHigh_} << 32 | lengthLow_;
    bits += std::uint64_t{bytes} * 8;
    lengthHigh_ = static_cast<Word>(bits >> 32);
    lengthLow_ = static_cast<Word>(bits);
}

void SHA256::digest()
{
    compress(hash_, buffer_, 1);
    buffered_ = 0;
}

void SHA256::pad()
{
    buffer_[buffered_++] = 0x80;
    if (static_cast<std::size_t>(buffered_) > lengthPosition) {
        fillWithZerosTo(blockSize);
        digest();
    }
    fillWithZerosTo(lengthPosition);
    storeBigEndian(buffer_ + lengthPosition, lengthHigh_);
    storeBigEndian(buffer_ + lengthPosition + 4, lengthLow_);
    digest();
}

void SHA256::fillWithZerosTo(std::size_t end)
{
    std::fill(buffer_ + buffered_, buffer_ + end, static_cast<unsigned char>(0));
    buffered_ = static_cast<int>(end);
}

void SHA256::result(unsigned int* out)
{
    if (!out)
        return;
    if (!computed_)
        pad();
    std::copy(std::begin(hash_), std::end(hash_), out);
}

std::string SHA256::getResultString()
{
    unsigned int words[8];
    result(words);
    std::string digits;
    digits.reserve(64);
    for (const Word word : words)
        for (int shift = 28; shift >= 0; shift -= 4)
            digits += "0123456789abcdef"[word >> shift & 0xf];
    return digits;
}
