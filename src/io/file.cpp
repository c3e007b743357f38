#include "io/file.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>

namespace vekanalysis::internal {

namespace {

class ReadError : public std::ios_base::failure {
public:
    explicit ReadError(const std::string& path)
        : std::ios_base::failure("Could not open file for reading: " + path,
                                 std::make_error_code(std::io_errc::stream)) {}
};

std::filesystem::path native_path(const std::string& path) {
    // The system's calls would take the part before a zero byte for the whole name.
    if (path.find('\0') != std::string::npos) throw ReadError(path);
    try {
        return {std::u8string(path.begin(), path.end())};
    } catch (const std::system_error&) {
        throw ReadError(path);  // no UTF-8, where the system wants another encoding
    }
}

}  // namespace

std::vector<unsigned char> load_binary_file(const std::string& path) {
    const std::filesystem::path name = native_path(path);
    std::error_code error;
    // Some systems open a folder as if it were a file.
    if (std::filesystem::is_directory(name, error)) throw ReadError(path);
    std::ifstream stream(name, std::ios::binary);
    if (!stream) throw ReadError(path);

    // The size is a guess that saves memory: it may change meanwhile, and devices have none. One
    // byte more lets the first read meet the end of the file.
    constexpr std::size_t least_step = 1 << 16;
    const std::uintmax_t expected = std::filesystem::file_size(name, error);
    std::size_t step = error || expected == 0 ? least_step : static_cast<std::size_t>(expected) + 1;
    std::vector<unsigned char> bytes;
    std::size_t size = 0;
    while (stream) {
        bytes.resize(size + step);
        stream.read(reinterpret_cast<char*>(bytes.data() + size),
                    static_cast<std::streamsize>(step));
        size += static_cast<std::size_t>(stream.gcount());
        step = std::max(least_step, size);
    }
    if (stream.bad()) throw ReadError(path);
    bytes.resize(size);
    return bytes;
}

}  // namespace vekanalysis::internal
