#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "image_builder.hpp"
#include "io/compound_file.hpp"
#include "io/csv.hpp"
#include "io/io.hpp"
#include "io/vekfile_reader.hpp"
#include "stream_reader.hpp"

/// What the fuzzers do with their input; the tests do the same with the seeds. An input may be read
/// or refused with a documented exception; anything else ends the program.
namespace fuzz {

using Input = std::span<const unsigned char>;

inline void require(bool condition) {
    if (!condition) std::abort();
}

/// True when `work` succeeds, false when it throws what the readers' headers name.
template <class F>
bool succeeds(const F& work) {
    try {
        work();
        return true;
    } catch (const CFB::WrongFormat&) {
    } catch (const CFB::FileCorrupted&) {
    } catch (const CFB::InvalidEntryId&) {
    } catch (const CFB::OutOfRange&) {
    } catch (const std::invalid_argument& error) {
        const std::string_view text = error.what();
        require(text.empty());
    } catch (const std::runtime_error& error) {
        const std::string_view text = error.what();
        require(text == "Buffer is empty" || text == "Contents entry missing." ||
                text == "16 byte GUID header missing." ||
                text == "Size does not match entry size.");
    }
    return false;
}

/// Both flavours of the reader agree, and each Scan is what inserting the points one by one gives,
/// but for those that are NaN.
///
/// @param indent  of the JSON export
inline void read_measurement(Input image, int indent) {
    using namespace vekanalysis;
    io::VekFile scans;
    vekfile::VekFile<vekfile::DataSet<vekfile::DataNative>> native;
    const bool with_scans = succeeds([&] { scans = io::load_vekfile(image); });
    const bool with_points = succeeds([&] {
        require(!image.empty());
        native = vekfile::VekFileReaderJSON(image.data(), image.size()).vekfile();
    });
    require(with_scans == with_points);
    if (!with_points) return;
    for (std::size_t i = 0; i < native.data_sets.size(); ++i) {
        const auto& points = native.data_sets[i].data;
        require(points.x.size() == native.data_sets[i].no_of_points);
        Scan expected;
        std::size_t left_out = 0;
        for (std::size_t k = 0; k < points.x.size(); ++k) {
            if (std::isnan(points.x[k])) {
                ++left_out;
            } else {
                expected.insert({points.x[k], points.y[k]});
            }
        }
        require(scans.data_sets.at(i).left_out == left_out);
        const Scan& actual = scans.data_sets.at(i).data;
        require(std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(),
                           [](const auto& a, const auto& b) {
                               return a.first == b.first &&
                                      (a.second == b.second ||
                                       (a.second != a.second && b.second != b.second));
                           }));
    }
    require(succeeds([&] { require(!io::vekfile_to_json(image, indent, true).empty()); }));
}

/// None for half of the inputs.
inline int indent_for(Input input) {
    return input.size() % 2 == 0 ? 1 : -1;
}

/// A file image: the container's walks, and the measurement file that it may be.
///
/// Where the walks begin, the image says itself, in the class of its header, which no reader looks
/// at: to try many at each image, most of which are refused, would take four fifths of the time.
inline void container(Input image) {
    succeeds([&] {
        CFB::CompoundFileParser parser(image.data(), image.size());
        const std::size_t number = CFB::load_little_endian<std::uint32_t>(image.data() + 8);
        const std::size_t entry = CFB::load_little_endian<std::uint32_t>(image.data() + 12);
        std::vector<char> bytes(1 + entry % image.size());
        for (const std::size_t id : {std::size_t{0}, std::size_t{1}, entry}) {
            succeeds([&] { static_cast<void>(parser.get_entry_name(id)); });
            succeeds([&] { static_cast<void>(parser.get_entry_size(id)); });
            succeeds([&] { parser.read_file(id); });
            succeeds([&] { static_cast<void>(parser.read_string()); });
        }
        succeeds([&] { parser.ReadFile(parser.GetEntry(1), number, bytes.data(), bytes.size()); });
        succeeds([&] { parser.ReadStream(entry, number, bytes.data(), bytes.size()); });
        succeeds([&] { parser.ReadMiniStream(entry, number, bytes.data(), bytes.size()); });
        succeeds([&] { static_cast<void>(parser.GetNextSector(number)); });
        succeeds([&] { static_cast<void>(parser.GetNextMiniSector(number)); });
        succeeds([&] { static_cast<void>(parser.GetFATSectorLocation(number)); });
        succeeds([&] { static_cast<void>(parser.MiniSectorOffsetToAddress(number, entry)); });
    });
    if (!image.empty()) read_measurement(image, indent_for(image));
}

/// The stream "Contents" behind its marker and size, which are put in front.
inline void contents(Input input) {
    image::Writer stream;
    stream.raw(image::contents_marker).u32(16 + 4 + input.size());
    stream.bytes.insert(stream.bytes.end(), input.begin(), input.end());
    const image::Container container(stream.bytes, {.mini_stream_cutoff = 0});
    read_measurement(container.bytes, indent_for(input));
}

inline void csv(Input input) {
    const std::string text(input.begin(), input.end());
    const vekanalysis::Scan scan = vekanalysis::io::parse_csv(text);
#ifdef __GLIBCXX__
    vekanalysis::Scan expected;
    for (const auto& point : read_pairs_with_streams(text)) {
        expected.insert({point.first, point.second});
    }
    require(scan == expected);
#endif
}

}  // namespace fuzz
