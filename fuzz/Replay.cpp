#include <fuzz/Fuzz.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

/*
 * Goes through inputs without libFuzzer, in the ordinary tests and under every compiler: of the
 * folders and files that are named, each file is an input.
 */

namespace {

std::vector<std::filesystem::path> filesOf(std::filesystem::path const& place) {
    if (!std::filesystem::is_directory(place)) {
        return {place};
    }
    std::filesystem::directory_iterator const all(place);
    std::vector<std::filesystem::path> files(begin(all), end(all));
    std::ranges::sort(files);
    return files;
}

bool replay(std::filesystem::path const& file) {
    std::ifstream stream(file, std::ios::binary);
    // Storage of the input's size, so that an address sanitizer sees reads past it.
    std::vector<char> const bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        std::cerr << file << " cannot be read\n";
        return false;
    }
    std::cout << file.filename().string() << std::endl;  // the last one told is the one that fails
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t inputs = 0;
    for (char const* const place : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        for (std::filesystem::path const& file : filesOf(place)) {
            if (!replay(file)) {
                return 1;
            }
            ++inputs;
        }
    }
    std::cout << inputs << " inputs\n";
    return inputs == 0 ? 1 : 0;
}
