#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <sys/mman.h>
#include <type_traits>
#include <utility>
#include <vector>

#include "security/sha256.h"

namespace {

static_assert(sizeof(SHA256) == 112, "two length words, eight hash words, count, buffer, flag");
static_assert(std::is_trivially_copyable_v<SHA256> && !std::is_polymorphic_v<SHA256>);

using Word = std::uint32_t;

// FIPS 180-4, 4.2.2 and 5.3.3: the first 32 bits of the fractional parts of the cube or square
// roots of the first primes.
template <std::size_t count>
std::array<Word, count> fractionsOfRoots(double (*root)(double))
{
    std::array<Word, count> words{};
    std::vector<unsigned> primes;
    for (unsigned n = 2; primes.size() < count; ++n) {
        if (std::any_of(primes.begin(), primes.end(), [n](unsigned p) { return n % p == 0; }))
            continue;
        const double value = root(n);
        words[primes.size()] = static_cast<Word>((value - std::floor(value)) * 4294967296.0);
        primes.push_back(n);
    }
    return words;
}

Word rotated(Word x, int n)
{
    return x >> n | x << (32 - n);
}

// The hasher as the standard and the interface put it: one byte after the other, formulas as
// printed.
class ByteWiseModel {
public:
    ByteWiseModel() { reset(); }

    void reset()
    {
        hash_ = fractionsOfRoots<8>([](double x) { return std::sqrt(x); });
        high_ = low_ = 0;
        count_ = 0;
    }

    void setLength(Word high, Word low)
    {
        high_ = high;
        low_ = low;
    }

    void input(const std::string& bytes)
    {
        for (const char c : bytes) {
            low_ += 8;
            if (low_ == 0)
                ++high_;
            buffer_[count_++] = static_cast<unsigned char>(c);
            if (count_ == 64)
                digest();
        }
    }

    void digest();

    void pad()
    {
        buffer_[count_++] = 0x80;
        if (count_ > 56) {
            while (count_ < 64)
                buffer_[count_++] = 0;
            digest();
        }
        while (count_ < 56)
            buffer_[count_++] = 0;
        for (unsigned i = 0; i < 4; ++i) {
            buffer_[56 + i] = static_cast<unsigned char>(high_ >> (24 - 8 * i));
            buffer_[60 + i] = static_cast<unsigned char>(low_ >> (24 - 8 * i));
        }
        digest();
    }

    std::array<Word, 8> result()
    {
        pad();
        return hash_;
    }

    std::string resultString()
    {
        std::string text;
        for (const Word word : result()) {
            char digits[9];
            std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(word));
            text += digits;
        }
        return text;
    }

private:
    Word high_ = 0, low_ = 0;
    std::array<Word, 8> hash_{};
    std::size_t count_ = 0;
    std::array<unsigned char, 64> buffer_{};
};

void ByteWiseModel::digest()
{
    static const auto k = fractionsOfRoots<64>([](double x) { return std::cbrt(x); });
    std::array<Word, 64> w{};
    for (std::size_t t = 0; t < 16; ++t)
        for (std::size_t i = 0; i < 4; ++i)
            w[t] = w[t] << 8 | buffer_[4 * t + i];
    for (std::size_t t = 16; t < 64; ++t)
        w[t] = (rotated(w[t - 2], 17) ^ rotated(w[t - 2], 19) ^ w[t - 2] >> 10) + w[t - 7] +
               (rotated(w[t - 15], 7) ^ rotated(w[t - 15], 18) ^ w[t - 15] >> 3) + w[t - 16];
    auto [a, b, c, d, e, f, g, h] = hash_;
    for (std::size_t t = 0; t < 64; ++t) {
        const Word t1 = h + (rotated(e, 6) ^ rotated(e, 11) ^ rotated(e, 25)) +
                        ((e & f) ^ (~e & g)) + k[t] + w[t];
        const Word t2 =
            (rotated(a, 2) ^ rotated(a, 13) ^ rotated(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
    }
    const std::array<Word, 8> worked = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < 8; ++i)
        hash_[i] += worked[i];
    count_ = 0;
}

// Feeds from a heap block of exactly the text's size, so that a sanitizer sees one byte too far.
void feed(SHA256& hasher, const std::string& text)
{
    const std::unique_ptr<char[]> block(new char[text.size()]);
    std::copy(text.begin(), text.end(), block.get());
    hasher.input(block.get(), static_cast<unsigned int>(text.size()));
}

std::string hashOf(const std::string& text)
{
    SHA256 hasher;
    feed(hasher, text);
    return hasher.getResultString();
}

// The length words come first in the object; presetting them saves feeding 512 MiB.
void setLength(SHA256& hasher, Word high, Word low)
{
    const Word length[2] = {high, low};
    std::memcpy(static_cast<void*>(&hasher), length, sizeof length);
}

// Looks at copies, so that looking changes nothing: what result() would give, and what the buffer
// holds behind the bytes that count.
void expectSameState(const SHA256& hasher, const ByteWiseModel& model)
{
    SHA256 padded = hasher;
    ByteWiseModel paddedModel = model;
    EXPECT_EQ(padded.getResultString(), paddedModel.resultString());
    SHA256 digested = hasher;
    ByteWiseModel digestedModel = model;
    digested.digest();
    digestedModel.digest();
    EXPECT_EQ(digested.getResultString(), digestedModel.resultString());
}

TEST(SHA256, HashesThePublishedMessages)
{
    const std::pair<std::string, const char*> cases[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
         "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
         "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& [message, hash] : cases)
        EXPECT_EQ(hashOf(message), hash) << message.substr(0, 20);
}

TEST(SHA256, HashesMessagesAroundTheBlockAndPaddingBoundaries)
{
    const std::pair<unsigned, const char*> cases[] = {
        {55, "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {56, "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
        {63, "7d3e74a05d7db15bce4ad9ec0658ea98e3f06eeecf16b4c6fff2da457ddc2f34"},
        {64, "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {65, "635361c48bb9eab14198e76ea8ab7f1a41685d6ad62aa9146d301d4f17eb0ae0"},
        {119, "31eba51c313a5c08226adf18d4a359cfdfd8d2e816b13f4af952f7ea6584dcfb"},
        {120, "2f3d335432c70b580af0e8e1b3674a7c020d683aa5f73aaaedfdc55af904c21c"},
        {127, "c57e9278af78fa3cab38667bef4ce29d783787a2f731d4e12200270f0c32320a"},
        {128, "6836cf13bac400e9105071cd6af47084dfacad4e5e302c94bfed24e013afb73e"},
    };
    for (const auto& [length, hash] : cases)
        EXPECT_EQ(hashOf(std::string(length, 'a')), hash) << length;
}

TEST(SHA256, InsertionFeedsTheCharactersWithoutTheTerminatorAndChains)
{
    SHA256 hasher;
    EXPECT_EQ(&(hasher << "a"
                       << ""
                       << "bc"),
              &hasher);
    EXPECT_EQ(hasher.getResultString(), hashOf("abc"));
}

TEST(SHA256, HashesEveryByteValue)
{
    std::string all;
    SHA256 hasher;
    for (int c = 0; c < 256; ++c) {
        all += static_cast<char>(c);
        hasher.input(static_cast<char>(c));
    }
    EXPECT_EQ(hasher.getResultString(),
              "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880");
    EXPECT_EQ(hashOf(all), "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880");
}

TEST(SHA256, ChunksOfAnySizeGiveTheHashOfTheWhole)
{
    std::string message;
    for (int i = 0; i < 400; ++i)
        message += static_cast<char>(i * 7);
    const std::string whole = hashOf(message);
    for (std::size_t chunk = 1; chunk <= 200; ++chunk) {
        SHA256 hasher;
        for (std::size_t at = 0; at < message.size(); at += chunk)
            feed(hasher, message.substr(at, chunk));
        EXPECT_EQ(hasher.getResultString(), whole) << chunk;
    }
}

TEST(SHA256, ResultGivesTheWordsInTheMachinesByteOrder)
{
    SHA256 hasher;
    hasher << "abc";
    unsigned int words[9] = {0, 0, 0, 0, 0, 0, 0, 0, 0x12345678};
    hasher.result(words);
    EXPECT_EQ(words[0], 0xba7816bfU);
    EXPECT_EQ(words[1], 0x8f01cfeaU);
    EXPECT_EQ(words[7], 0xf20015adU);
    EXPECT_EQ(words[8], 0x12345678U);
}

TEST(SHA256, ASecondResultPadsAgainAndDiffers)
{
    SHA256 hasher;
    hasher << "abc";
    ByteWiseModel model;
    model.input("abc");
    const std::string first = hasher.getResultString();
    EXPECT_EQ(first, model.resultString());
    const std::string second = hasher.getResultString();
    EXPECT_NE(second, first);
    EXPECT_EQ(second, model.resultString());
    unsigned int words[8];
    hasher.result(words);
    const auto third = model.result();
    EXPECT_TRUE(std::equal(third.begin(), third.end(), words));
}

TEST(SHA256, ResetStartsANewMessage)
{
    SHA256 hasher;
    hasher << "something else, cut short in the middle of a block";
    hasher.reset();
    EXPECT_EQ((hasher << "abc").getResultString(), hashOf("abc"));
    hasher.reset();
    EXPECT_EQ(hasher.getResultString(), hashOf(""));
}

TEST(SHA256, ResetForgetsALengthOf512MiBAndMore)
{
    for (const auto& [high, low] : {std::pair<Word, Word>{1, 0}, {0, 512}, {~Word{0}, ~Word{0}}}) {
        SHA256 hasher;
        setLength(hasher, high, low);
        hasher.reset();
        EXPECT_EQ((hasher << "abc").getResultString(),
                  "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")
            << high << " " << low;
    }
}

TEST(SHA256, NullAndEmptyArgumentsDoNothing)
{
    SHA256 hasher;
    hasher << "ab";
    hasher.input(nullptr, 5);
    hasher.input(nullptr, 0);
    hasher.input("x", 0);
    hasher << nullptr;
    hasher.result(nullptr);
    EXPECT_EQ((hasher << "c").getResultString(), hashOf("abc"));
}

TEST(SHA256, APublicDigestCompressesTheBufferAsItStands)
{
    std::string message;
    for (int i = 0; i < 200; ++i)
        message += static_cast<char>('A' + i % 50);
    for (std::size_t length = 0; length <= message.size(); ++length) {
        SHA256 hasher;
        ByteWiseModel model;
        feed(hasher, message.substr(0, length));
        model.input(message.substr(0, length));
        hasher.digest();
        model.digest();
        EXPECT_EQ(hasher.getResultString(), model.resultString()) << length;
    }
}

TEST(SHA256, TheLengthCarriesIntoItsHighWordAndWrapsWithIt)
{
    const Word lengths[][2] = {{0, 0xFFFFFFF8},
                               {0, 0xFFFFFE00},
                               {0xFFFFFFFF, 0xFFFFFFF8},
                               {7, 0xFFFFF000},
                               {0, 0xFFFFFC00}};
    for (const auto& [high, low] : lengths) {
        for (const std::size_t chunk : {1U, 63U, 64U, 100U, 700U}) {
            SHA256 hasher;
            ByteWiseModel model;
            setLength(hasher, high, low);
            model.setLength(high, low);
            for (int n = 0; n < 3; ++n) {
                feed(hasher, std::string(chunk, 'x'));
                model.input(std::string(chunk, 'x'));
                expectSameState(hasher, model);
            }
        }
    }
}

// Elsewhere it takes a minute: only the optimised build of the build machine hashes that fast.
#if defined(NDEBUG) && (defined(__x86_64__) || defined(__i386__))
TEST(SHA256, HashesASingleInputOf512MiB)
{
    const std::size_t size = std::size_t{512} << 20;
    // Never written to: one page of zeros, mapped over and over.
    void* const zeros =
        mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    SHA256 hasher;
    hasher.input(static_cast<const char*>(zeros), static_cast<unsigned int>(size));
    munmap(zeros, size);
    EXPECT_EQ(hasher.getResultString(),
              "9acca8e8c22201155389f65abbf6bc9723edc7384ead80503839f49dcc56d767");
}
#endif

// One random public call on both; the kinds that change most come more often.
void callBoth(std::mt19937& random, SHA256& hasher, ByteWiseModel& model)
{
    std::string bytes(random() % 300, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random() % 255 + 1);
    switch (random() % 12) {
    case 0:
        hasher.digest();
        model.digest();
        break;
    case 1:
        hasher.pad();
        model.pad();
        break;
    case 2:
        EXPECT_EQ(hasher.getResultString(), model.resultString());
        break;
    case 3:
        if (random() % 4 == 0) {
            hasher.reset();
            model.reset();
        }
        break;
    case 4:
        hasher.input('q');
        model.input("q");
        break;
    case 5:
    case 6:
        hasher << bytes.c_str();
        model.input(bytes);
        break;
    default:
        if (random() % 2 == 0)
            bytes.resize(bytes.size() / 64 * 64, 'z');
        feed(hasher, bytes);
        model.input(bytes);
    }
}

TEST(SHA256, RandomCallsKeepTheStateOfAByteWiseHasher)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        SHA256 hasher;
        ByteWiseModel model;
        for (int call = 0; call < 40 && !testing::Test::HasFailure(); ++call) {
            callBoth(random, hasher, model);
            expectSameState(hasher, model);
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

}  // namespace
