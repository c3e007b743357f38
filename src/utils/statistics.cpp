#include "utils/statistics.hpp"

#include <algorithm>
#include <boost/accumulators/accumulators.hpp>
#include <boost/accumulators/statistics/kurtosis.hpp>
#include <boost/accumulators/statistics/max.hpp>
#include <boost/accumulators/statistics/mean.hpp>
#include <boost/accumulators/statistics/median.hpp>
#include <boost/accumulators/statistics/min.hpp>
#include <boost/accumulators/statistics/skewness.hpp>
#include <boost/accumulators/statistics/stats.hpp>
#include <boost/accumulators/statistics/variance.hpp>
#include <span>

#include "core/text.hpp"

namespace vekanalysis {

namespace {

Stat_Result<double> statistics_of(std::span<const double> values) {
    namespace ba = boost::accumulators;
    ba::accumulator_set<double,
                        ba::stats<ba::tag::mean, ba::tag::min, ba::tag::max, ba::tag::variance,
                                  ba::tag::skewness, ba::tag::kurtosis, ba::tag::median>>
        set;
    for (const double v : values) set(v);
    return {ba::mean(set),     ba::min(set),      ba::max(set),   ba::variance(set),
            ba::skewness(set), ba::kurtosis(set), ba::median(set)};
}

}  // namespace

std::string to_string(const Stat_Result<double>& statistics) {
    return "<ScanStatistics mean=" + internal::fixed(statistics.mean) +
           " min=" + internal::fixed(statistics.min) + " max=" + internal::fixed(statistics.max) +
           " variance=" + internal::fixed(statistics.variance) +
           " skewness=" + internal::fixed(statistics.skewness) +
           " kurtosis=" + internal::fixed(statistics.kurtosis) +
           " median=" + internal::fixed(statistics.median) + ">";
}

namespace utils {

Stat_Result<double> get_statistics(const Scan& scan) {
    return statistics_of(scan.data().values());
}

Stat_Result<double> get_statistics(const Scan& scan, double lo, double hi) {
    const auto keys = scan.data().keys();
    const auto first =
        std::partition_point(keys.begin(), keys.end(), [lo](double key) { return !(lo <= key); });
    const auto last =
        std::partition_point(first, keys.end(), [hi](double key) { return key <= hi; });
    return statistics_of(scan.data().values().subspan(
        static_cast<std::size_t>(first - keys.begin()), static_cast<std::size_t>(last - first)));
}

}  // namespace utils

}  // namespace vekanalysis
