// Drives a fuzzer's body without libFuzzer, so that its laws are tests on every platform: replay SEEDS COUNT [FIRST]
//
// First come the inputs of the file SEEDS, one a line in hexadecimal digits, among them all that ever found a fault;
// then COUNT inputs made of numbers, of seeds and of what both have in common with texts. Input number N is the same in
// every run; a fault prints it, and `replay SEEDS 1 N` repeats it alone.
#include "body.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

using Input = std::vector<std::uint8_t>;

Input g_input;
std::string g_name;

[[noreturn]] void Report(int) {
    std::printf("FAULT on %s:\n", g_name.c_str());
    for (const std::uint8_t byte : g_input) {
        std::printf("%02x", byte);
    }
    std::printf("\n");
    std::fflush(stdout);
    std::_Exit(1);
}

void Run(const std::string& name, const Input& input) {
    g_name = name;
    // Of exactly the size, so that a sanitizer sees every access beyond it.
    g_input = Input(input);
    LLVMFuzzerTestOneInput(g_input.data(), g_input.size());
}

std::vector<Input> ReadSeeds(const char* name) {
    std::ifstream file(name);
    std::vector<Input> seeds;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        seeds.emplace_back();
        for (std::size_t at = 0; at + 1 < line.size(); at += 2) {
            seeds.back().push_back(static_cast<std::uint8_t>(std::stoul(line.substr(at, 2), nullptr, 16)));
        }
    }
    return seeds;
}

class Maker {
public:
    Maker(const std::vector<Input>& seeds, unsigned number) : m_seeds(seeds), m_random(number) {}

    Input Make() {
        switch (Below(4)) {
        case 0:
            return Numbers(256);
        case 1:
            return Numbers(2 + static_cast<unsigned>(Below(6)));
        case 2:
            return Damaged(Seed());
        default: {
            Input joined = Seed();
            joined.resize(static_cast<std::size_t>(Below(joined.size() + 1)));
            const Input other = Seed();
            joined.insert(joined.end(), other.begin() + Below(other.size() + 1), other.end());
            return Damaged(joined);
        }
        }
    }

private:
    int Below(std::size_t end) { return static_cast<int>(m_random() % end); }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(m_random()); }
    const Input& Seed() { return m_seeds[static_cast<std::size_t>(Below(m_seeds.size()))]; }

    /// Behind 20 bytes of any kind, which most bodies choose by, no more than `kinds` different ones.
    Input Numbers(unsigned kinds) {
        Input input(static_cast<std::size_t>(Below(1 + (1u << Below(11)))));
        const int first = Byte();
        for (std::size_t i = 0; i < input.size(); ++i) {
            input[i] = i < 20 ? Byte() : static_cast<std::uint8_t>(first + Below(kinds));
        }
        return input;
    }

    Input Damaged(Input input) {
        for (int count = Below(6); count != 0 && !input.empty(); --count) {
            const auto at = input.begin() + Below(input.size());
            switch (Below(4)) {
            case 0:
                *at = Byte();
                break;
            case 1:
                *at = static_cast<std::uint8_t>(*at ^ 1 << Below(8));
                break;
            case 2:
                input.erase(at);
                break;
            default:
                input.insert(at, static_cast<std::size_t>(1 + Below(40)), Byte());
                break;
            }
        }
        return input;
    }

    const std::vector<Input>& m_seeds;
    std::mt19937 m_random;
};

} // namespace

int main(int argc, char** argv) {
    const std::vector<Input> seeds = argc > 2 ? ReadSeeds(argv[1]) : std::vector<Input>();
    if (seeds.empty()) {
        std::printf("replay SEEDS COUNT [FIRST]; SEEDS has at least one\n");
        return 2;
    }
    const auto count = static_cast<unsigned>(std::stoul(argv[2]));
    const unsigned first = argc > 3 ? static_cast<unsigned>(std::stoul(argv[3])) : 0;
    LLVMFuzzerInitialize(&argc, &argv);
    std::signal(SIGABRT, Report);
    std::signal(SIGSEGV, Report);
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        Run("seed " + std::to_string(i), seeds[i]);
    }
    for (unsigned number = first; number != first + count; ++number) {
        Run("input " + std::to_string(number), Maker(seeds, number).Make());
    }
    std::printf("%u inputs and %u seeds replayed\n", count, static_cast<unsigned>(seeds.size()));
    return 0;
}
