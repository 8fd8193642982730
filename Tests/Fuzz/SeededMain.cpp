// Drives a fuzz target where the compiler brings no fuzzer: mutates the files of a corpus by a seed that is
// printed.
//
//   TARGET [--runs N] [--seconds S] [--seed N] CORPUS
//
// Ends with 1 when the process takes more than a gigabyte; a crash, or an input that takes more than ten
// seconds, ends it by its signal. The input at fault is left in "fault-SEED" in the working folder: it
// belongs into the corpus.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/resource.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

class Mutator {
  public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    Bytes mutate(const std::vector<Bytes>& corpus) {
        Bytes bytes = corpus[below(corpus.size())];
        for (std::size_t i = 0, count = 1 + below(6); i < count && !bytes.empty(); ++i)
            mutateOnce(bytes, corpus);
        return bytes;
    }

  private:
    std::size_t below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }

    void mutateOnce(Bytes& bytes, const std::vector<Bytes>& corpus) {
        const std::size_t at = below(bytes.size());
        const auto place = [&](std::size_t index) {
            return bytes.begin() + static_cast<std::ptrdiff_t>(index);
        };
        const std::size_t end = std::min(bytes.size(), at + 1 + below(32));
        switch (below(8)) {
            case 0:
                bytes[at] ^= static_cast<std::uint8_t>(1U << below(8));
                break;
            case 1:
                bytes[at] = static_cast<std::uint8_t>(random_());
                break;
            case 2: {  // numbers that lie at the borders of their types
                static constexpr std::array<std::uint64_t, 9> borders{
                    0, 1, 0x7f, 0xff, 0x7fff, 0xffff, 0x7fffffff, 0xffffffff, 0x7fffffffffffffff};
                const std::uint64_t value = borders[below(borders.size())];
                const std::size_t width = std::size_t{1} << below(4);
                for (std::size_t i = 0; i < width && at + i < bytes.size(); ++i)
                    bytes[at + i] = static_cast<std::uint8_t>(value >> 8 * (width - 1 - i));
                break;
            }
            case 3:
                bytes.resize(at);
                break;
            case 4:
                bytes.erase(place(at), place(end));
                break;
            case 5: {
                const Bytes piece(place(at), place(end));
                const std::size_t target = below(bytes.size());
                for (std::size_t n = 1 + below(4); n > 0; --n)
                    bytes.insert(place(target), piece.begin(), piece.end());
                break;
            }
            case 6: {
                const Bytes& other = corpus[below(corpus.size())];
                const std::size_t from = below(other.size());
                const std::size_t size = std::min(other.size() - from, std::size_t{1} + below(256));
                for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i)
                    bytes[at + i] = other[from + i];
                break;
            }
            default: {  // of a text: another number
                static constexpr std::array<const char*, 6> words{"-0",   "1e308", "9223372036854775808",
                                                                  "null", "[[[[",  "\"\\ud800\""};
                const char* word = words[below(words.size())];
                bytes.insert(place(at), word, word + std::strlen(word));
            }
        }
    }

    std::mt19937 random_;
};

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t runs = UINT64_MAX;
    double seconds = 3;
    unsigned seed = std::random_device()();
    std::string folder;
    CLI::App app;
    app.add_option("--runs", runs)->each([&](const auto&) { seconds = 1e9; });
    app.add_option("--seconds", seconds);
    app.add_option("--seed", seed);
    app.add_option("CORPUS", folder)->required()->check(CLI::ExistingDirectory);
    CLI11_PARSE(app, argc, argv);
    std::vector<Bytes> corpus;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    if (corpus.empty()) {
        std::cerr << folder << " has no files\n";
        return 2;
    }

    const std::string kept = "fault-" + std::to_string(seed);
    Mutator mutator(seed);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::uint64_t done = 0;
    for (; done < runs && std::chrono::steady_clock::now() < end; ++done) {
        const Bytes input = done < corpus.size() ? corpus[done] : mutator.mutate(corpus);
        std::ofstream(kept, std::ios::binary)
            .write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
        alarm(10);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        alarm(0);
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed
        if (usage.ru_maxrss > 1024 * 1024) {
            std::cerr << kept << " takes more than a gigabyte\n";
            return 1;
        }
#endif
    }
    std::filesystem::remove(kept);
    std::cout << done << " inputs, seed " << seed << std::endl;
    return 0;
}
