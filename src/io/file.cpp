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

std::vector<unsigned char> read_all(std::streambuf& source, std::size_t expected,
                                    const std::string& path) {
    constexpr std::size_t least_step = 1 << 16;
    // One byte more lets the first read meet the end.
    std::vector<unsigned char> bytes(expected == 0 ? least_step : expected + 1);
    std::size_t size = 0;
    while (true) {
        if (size == bytes.size()) bytes.resize(size + std::max(least_step, size));
        std::streamsize count = 0;
        // Of the buffer itself, since a stream would take a want of memory for an end.
        try {
            count = source.sgetn(reinterpret_cast<char*>(bytes.data() + size),
                                 static_cast<std::streamsize>(bytes.size() - size));
        } catch (const std::ios_base::failure&) {
            throw ReadError(path);
        }
        if (count <= 0) break;
        size += static_cast<std::size_t>(count);
    }
    bytes.resize(size);
    return bytes;
}

std::vector<unsigned char> load_binary_file(const std::string& path) {
    const std::filesystem::path name = native_path(path);
    std::error_code error;
    // Some systems open a folder as if it were a file.
    if (std::filesystem::is_directory(name, error)) throw ReadError(path);
    std::filebuf file;
    if (file.open(name, std::ios::in | std::ios::binary) == nullptr) throw ReadError(path);
    // The size is a guess: it may change meanwhile, and devices have none.
    const std::uintmax_t size = std::filesystem::file_size(name, error);
    return read_all(file, error ? 0 : static_cast<std::size_t>(size), path);
}

}  // namespace vekanalysis::internal
