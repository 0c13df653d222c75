// nbx-json decode FILE|-: prints the compact re-encoding of a JSON document.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "JSONKit.h"

namespace {

constexpr int kUsageError = 2;

std::optional<std::string> readAll(const char* path) {
    if (std::strcmp(path, "-") == 0)
        return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (file.bad()) return std::nullopt;
    return text;
}

int decode(const char* path) {
    const auto text = readAll(path);
    if (!text) {
        std::cerr << "nbx-json: cannot read " << path << ": " << std::strerror(errno) << "\n";
        return 1;
    }
    nbx::JSONError error;
    const auto value = nbx::JSONDecoder().objectWithUTF8String(*text, &error);
    const auto encoded = value ? nbx::JKSerializer::serializeObject(*value, &error) : std::nullopt;
    if (!encoded) {
        std::cerr << error.description << "\n";
        return 1;
    }
    std::cout << *encoded << "\n";
    return std::cout.flush() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::strcmp(argv[1], "decode") != 0) {
        std::cerr << "usage: nbx-json decode FILE|-\n";
        return kUsageError;
    }
    return decode(argv[2]);
}
