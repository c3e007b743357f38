#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "compound_file.hpp"
#include "vekfile.hpp"

namespace vekanalysis::vekfile {

/// Reads the stream "Contents", directory entry 1 of a measurement file, front to back into a
/// record. docs/file-format.md has the layout. Instantiated for Scan and DataNative. A Scan takes
/// no NaN for a wavelength: such points are left out and counted in `left_out`.
///
/// Counts in the file never drive an allocation: what they announce is first found to be there.
/// `ContentsReader` is the spelling for new code.
template <class T>
class __VekFileReader : public CFB::CompoundFileParser {
public:
    using Record = VekFile<DataSet<T>>;

    /// Reads everything; the image is not used afterwards.
    ///
    /// @throws CFB::WrongFormat, CFB::FileCorrupted, std::invalid_argument  as CompoundFileReader
    /// @throws std::runtime_error  "Contents entry missing.", "16 byte GUID header missing." or
    ///                             "Size does not match entry size."
    /// @throws CFB::OutOfRange     the stream ends before the record does
    __VekFileReader(const void* data, std::size_t len);

    [[nodiscard]] const Record& record() const& noexcept { return record_; }
    [[nodiscard]] Record record() && noexcept { return std::move(record_); }

private:
    void __init();
    void __read_version();
    void __read_graphview();
    void __read_data_sets();
    void __read_points();
    void __skip_annotations();
    void __skip_arrows();
    void __skip_timestamps();
    void __read_data_info();
    void __read_x_type();
    void __fill_data_sets();

    [[nodiscard]] std::uint64_t count_points(std::uint32_t count);
    [[nodiscard]] MeasurementTypeUnits read_type_and_units();

    Record record_;
    /// Of the data sets that have any, until the whole stream is read.
    std::vector<DataNative> points_;
};

extern template class __VekFileReader<Scan>;
extern template class __VekFileReader<DataNative>;

template <class T>
using ContentsReader = __VekFileReader<T>;

/// A measurement file with its points in Scans.
class VekFileReader {
public:
    /// Throws as ContentsReader<Scan>.
    VekFileReader(const void* data, std::size_t len) : reader_(data, len) {}

    [[nodiscard]] VekFile<DataSet<Scan>> vekfile() const& { return reader_.record(); }
    [[nodiscard]] VekFile<DataSet<Scan>> vekfile() && { return std::move(reader_).record(); }

    /// In file order; names may repeat.
    [[nodiscard]] std::vector<std::string> get_dataset_names() const;

private:
    ContentsReader<Scan> reader_;
};

/// A measurement file with its points as they stand there, for the JSON export.
class VekFileReaderJSON {
public:
    /// Throws as ContentsReader<DataNative>.
    VekFileReaderJSON(const void* data, std::size_t len) : reader_(data, len) {}

    [[nodiscard]] VekFile<DataSet<DataNative>> vekfile() const& { return reader_.record(); }
    [[nodiscard]] VekFile<DataSet<DataNative>> vekfile() && { return std::move(reader_).record(); }

private:
    ContentsReader<DataNative> reader_;
};

}  // namespace vekanalysis::vekfile
