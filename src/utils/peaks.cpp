#include "utils/peaks.hpp"

#include <stdexcept>
#include <utility>
#include <vector>

#include "numerical/brent.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::utils {

namespace {

constexpr double equal_within_ulps = 5.0;

/// Refines turning points of one kind; see `find_turning_point`.
class TurningPointSearch {
public:
    TurningPointSearch(const Scan& scan, bool trough)
        : scan_(scan), value_at_(scan), sign_(trough ? 1.0 : -1.0) {}

    bool find(Scan::const_iterator it, double* x) {
        if (it == scan_.end()) return false;
        const bool has_previous = it != scan_.begin();
        const bool has_next = it + 1 != scan_.end();
        if (has_previous && has_next && minimise(key_of(it - 1), key_of(it + 1), key_of(it), x)) {
            return true;
        }
        return (has_next && minimise_between(it, x)) ||
               (has_previous && minimise_between(it - 1, x));
    }

    double value_at(double wl) { return value_at_(wl); }

private:
    static double key_of(Scan::const_iterator it) { return (*it).first; }

    bool minimise_between(Scan::const_iterator it, double* x) {
        const double a = key_of(it);
        const double b = key_of(it + 1);
        return minimise(a, b, (a + b) / 2.0, x);
    }

    bool minimise(double a, double b, double start, double* x) {
        const auto objective = [this](double wl) { return sign_ * value_at_(wl); };
        return Minimizer().solve(a, b, start, objective, x);
    }

    const Scan& scan_;
    ScanCursor value_at_;
    double sign_;
};

}  // namespace

bool find_turning_point(const Scan& scan, Scan::const_iterator it, bool trough, double* x) {
    return !scan.empty() && TurningPointSearch(scan, trough).find(it, x);
}

bool find_turning_point(const Scan& scan, double lo, double hi, bool trough, double* x) {
    const auto it = trough ? scan.min_element(lo, hi) : scan.max_element(lo, hi);
    return find_turning_point(scan, it, trough, x);
}

bool find_peak(const Scan& scan, double lo, double hi, double* x) {
    return find_turning_point(scan, lo, hi, false, x);
}

bool find_trough(const Scan& scan, double lo, double hi, double* x) {
    return find_turning_point(scan, lo, hi, true, x);
}

bool find_peak(const Scan& scan, double* x) {
    return !scan.empty() && find_peak(scan, scan.min_wavelength(), scan.max_wavelength(), x);
}

bool find_trough(const Scan& scan, double* x) {
    return !scan.empty() && find_trough(scan, scan.min_wavelength(), scan.max_wavelength(), x);
}

void find_turning_points(const Scan& scan, bool trough, Scan* out) {
    std::vector<std::pair<double, double>> found;
    TurningPointSearch search(scan, trough);
    for (auto it = scan.begin(); it != scan.end(); ++it) {
        double x = 0.0;
        if (!search.find(it, &x)) continue;
        found.emplace_back(x, search.value_at(x));
        if (++it == scan.end()) break;
    }
    if (found.empty()) return;
    Scan filled(*out);
    for (const auto& [wl, value] : found) filled.insert({wl, value});
    *out = std::move(filled);
}

Scan find_peaks(const Scan& scan) {
    Scan peaks;
    find_peaks(scan, &peaks);
    return peaks;
}

Scan find_troughs(const Scan& scan) {
    Scan troughs;
    find_troughs(scan, &troughs);
    return troughs;
}

void find_peaks(const Scan& scan, Scan* out) {
    find_turning_points(scan, false, out);
}

void find_troughs(const Scan& scan, Scan* out) {
    find_turning_points(scan, true, out);
}

void add_turning_points(Scan* scan) {
    const Scan peaks = find_peaks(*scan);
    Scan extended = internal::with_keys(*scan, peaks.data().keys());
    extended.add_keys(find_troughs(extended));
    *scan = std::move(extended);
}

bool find_key(const Scan& scan, double lo, double hi, double value, double* x) {
    if (scan.empty()) return false;
    ScanCursor value_at(scan);
    return Root().find(
        lo, hi, [&value_at, value](double wl) { return value_at(wl) - value; }, x);
}

double find_crossing(const Scan& scan_1, const Scan& scan_2, double lo, double hi) {
    const auto first = scan_1.find(lo);
    const auto last = scan_1.find(hi);
    if (first == scan_1.end() || last == scan_1.end()) {
        throw std::out_of_range("scan_1 must contain keys lo and hi");
    }
    ScanCursor value_1(scan_1);
    ScanCursor value_2(scan_2);
    const bool above_at_lo = (*first).second > value_2(lo);
    for (auto it = first; it <= last; ++it) {
        const auto [wl, y1] = *it;
        const double y2 = value_2(wl);
        if (are_equal(y1, y2, equal_within_ulps)) return wl;
        if ((y1 > y2) == above_at_lo) continue;
        if (it == first) break;
        double root = 0.0;
        const auto difference = [&](double x) { return value_1(x) - value_2(x); };
        if (!Root().find((*(it - 1)).first, wl, difference, &root)) {
            throw std::out_of_range("root finding failed");
        }
        return root;
    }
    throw std::out_of_range("failed to bracket the root");
}

bool peak_width(const Scan& scan, double height, double* width) {
    if (width == nullptr || scan.empty() || !scan.is_interpolated()) return false;
    // A copy interpolates its points as they are now, whatever interpolant the scan still has.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): made for what it leaves behind
    const Scan copy(scan);
    double peak = 0.0;
    if (!find_peak(copy, &peak)) return false;
    const double level = copy(peak) * height;
    double left = 0.0;
    double right = 0.0;
    if (!find_key(copy, copy.min_wavelength(), peak, level, &left) ||
        !find_key(copy, peak, copy.max_wavelength(), level, &right)) {
        return false;
    }
    *width = right - left;
    return true;
}

}  // namespace vekanalysis::utils
