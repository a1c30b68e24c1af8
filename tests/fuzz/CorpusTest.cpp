// Runs the fuzz target over its corpus, which holds what the fuzzer has found before.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

TEST(Fuzz, TheCorpusHolds) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(FUZZ_CORPUS)) {
        SCOPED_TRACE(entry.path());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
        ++inputs;
    }
    EXPECT_GT(inputs, 0);
}

}  // namespace
