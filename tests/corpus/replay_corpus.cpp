// Plays every file of the corpora to a fuzz target, in place of the fuzzer.
//     replay_corpus FOLDER...
// Fails when there is nothing to play. The target itself fails by crashing, by its assertions or
// by what a sanitizer says.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argumentCount, char*** arguments);

namespace {

void replay(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    // A block of exactly that size, so that a sanitizer sees one byte too far.
    const std::unique_ptr<uint8_t[]> block(new uint8_t[bytes.size()]);
    if (!bytes.empty())
        std::memcpy(block.get(), bytes.data(), bytes.size());
    LLVMFuzzerTestOneInput(block.get(), bytes.size());
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argumentCount, &arguments);
    int replayed = 0;
    for (int i = 1; i < argumentCount; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            if (entry.is_regular_file()) {
                replay(entry.path());
                ++replayed;
            }
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
