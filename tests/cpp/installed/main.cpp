#define THE_USER_ASKS
#include <core/scan.hpp>
#undef THE_USER_ASKS
#include <cstddef>
#include <vekanalysis/core/scan.hpp>
#include <vekanalysis/io/vekfile_reader.hpp>
#include <vekanalysis/utils/element_wise.hpp>

/// The clean spelling of every name with two underscores.
std::size_t data_sets(const vekanalysis::vekfile::ContentsReader<vekanalysis::Scan>& reader) {
    const vekanalysis::vekfile::VekFile<vekanalysis::vekfile::DataSet<vekanalysis::Scan>>& file =
        reader.record();
    return file.data_sets.size();
}

int main() {
    const Scan own{3};
    vekanalysis::Scan scan{{400.0, 1.0}, {500.0, 2.0}, {600.0, 3.0}};
    scan.set_interpolation_type(vekanalysis::spline::Type::LINEAR);
    scan[400.0] = scan[500.0];
    scan.initialize_spline();
    scan.ensure_spline();
    const bool right = own.lines == 3 && scan(450.0) == 2.0 && scan(550.0) == 2.5;
    return right ? 0 : 1;
}
