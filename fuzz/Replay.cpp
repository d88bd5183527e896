/// @file Runs a fuzzer without a fuzzing engine: `replay <corpus folder> <seconds>` feeds it every
/// file of the corpus, then mutations of them until the time is up. Round n of a corpus is the same
/// in every run. An input that crashes the program is left in the file "fuzz-crash".

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr std::size_t kMaxInput = 1u << 16;

Input theInput; ///< the input under test

extern "C" void fnKeepInput(int signal) {
    if (std::FILE* file = std::fopen("fuzz-crash", "wb")) {
        std::fwrite(theInput.data(), 1, theInput.size(), file);
        std::fclose(file);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void fnRun(const Input& input) {
    theInput = input;
    LLVMFuzzerTestOneInput(theInput.data(), theInput.size());
}

std::vector<Input> fnReadCorpus(const char* folder) {
    std::vector<std::filesystem::path> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path());
    std::sort(names.begin(), names.end());
    std::vector<Input> corpus;
    for (const auto& name : names) {
        std::ifstream file(name, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return corpus;
}

/// One random change: bytes altered, inserted, removed, duplicated, or copied from another input.
void fnMutate(Input& input, const std::vector<Input>& corpus, std::mt19937& random) {
    const auto below = [&random](std::size_t count) { return count ? random() % count : 0; };
    const auto byte = [&random] { return static_cast<std::uint8_t>(random()); };
    const auto at = static_cast<std::ptrdiff_t>(below(input.size()));
    const auto count = static_cast<std::ptrdiff_t>(
        below(std::min<std::size_t>(input.size() - static_cast<std::size_t>(at), 32) + 1));
    const Input part(input.begin() + at, input.begin() + at + count);
    switch (below(6)) {
    case 0:
        if (!input.empty())
            input[static_cast<std::size_t>(at)] = byte();
        break;
    case 1:
        if (!input.empty())
            input[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(1u << below(8));
        break;
    case 2:
        input.insert(input.begin() + at, 1 + below(4), byte());
        break;
    case 3:
        input.erase(input.begin() + at, input.begin() + at + count);
        break;
    case 4:
        input.insert(input.begin() + at, part.begin(), part.end());
        break;
    default:
        const Input& other = corpus[below(corpus.size())];
        const auto from = static_cast<std::ptrdiff_t>(below(other.size()));
        input.insert(input.begin() + at, other.begin() + from, other.end());
        break;
    }
    input.resize(std::min(input.size(), kMaxInput));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <corpus folder> <seconds>\n", argv[0]);
        return 2;
    }
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGILL})
        std::signal(signal, fnKeepInput);
    const std::vector<Input> corpus = fnReadCorpus(argv[1]);
    if (corpus.empty()) {
        std::fprintf(stderr, "%s holds no inputs\n", argv[1]);
        return 1;
    }
    for (const Input& input : corpus)
        fnRun(input);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(std::atof(argv[2]));
    std::uint32_t round = 0;
    for (; std::chrono::steady_clock::now() < end; ++round) {
        std::mt19937 random(round);
        Input input = corpus[random() % corpus.size()];
        for (auto changes = 1 + random() % 8; changes > 0; --changes)
            fnMutate(input, corpus, random);
        fnRun(input);
    }
    std::printf("%zu inputs replayed, %u mutations run\n", corpus.size(), round);
    return 0;
}
