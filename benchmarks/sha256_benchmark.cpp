// SHA-256 beside OpenSSL's. Set OPENSSL_ia32cap="~0x1000020000000000:~0x20000128" to see OpenSSL's
// scalar assembly instead of the instructions that only some processors have.
#include <benchmark/benchmark.h>
#include <string>

#include "security/sha256.h"

namespace {

// OpenSSL has a function of the same name in the same namespace.
using Hasher = SHA256;

}  // namespace

#ifdef VESTA_HAVE_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED  // the functions without the lookup of an algorithm by name
#include <openssl/sha.h>
#endif

namespace {

std::string message(const benchmark::State& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void sha256(benchmark::State& state)
{
    const std::string data = message(state);
    for (auto _ : state) {
        Hasher hasher;
        hasher.input(data.data(), static_cast<unsigned int>(data.size()));
        unsigned int words[8];
        hasher.result(words);
        benchmark::DoNotOptimize(words);
    }
    countBytes(state);
}
BENCHMARK(sha256)->Arg(64)->Arg(1 << 10)->Arg(1 << 20);

#ifdef VESTA_HAVE_OPENSSL
void sha256OfOpenSSL(benchmark::State& state)
{
    const std::string data = message(state);
    for (auto _ : state) {
        SHA256_CTX context;
        SHA256_Init(&context);
        SHA256_Update(&context, data.data(), data.size());
        unsigned char hash[SHA256_DIGEST_LENGTH];
        SHA256_Final(hash, &context);
        benchmark::DoNotOptimize(hash);
    }
    countBytes(state);
}
BENCHMARK(sha256OfOpenSSL)->Arg(64)->Arg(1 << 10)->Arg(1 << 20);
#endif

}  // namespace
