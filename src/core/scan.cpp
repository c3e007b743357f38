#include "core/scan.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>

#include "core/scan_arithmetic.hpp"
#include "numerical/cubic.hpp"

namespace vekanalysis {

namespace {

PointMap points_from_arrays(std::vector<double> wavelengths, std::vector<double> values,
                            double epsilon) {
    if (wavelengths.size() != values.size()) {
        throw std::runtime_error("Scan::Scan: wavelength and signal must be the same size");
    }
    return PointMap::from_points(std::move(wavelengths), std::move(values), epsilon);
}

}  // namespace

Scan::Scan(double epsilon, spline::Type type) : data_(epsilon), type_(type) {}

Scan::Scan(std::vector<double> wavelengths, std::vector<double> values, double epsilon,
           spline::Type type)
    : data_(points_from_arrays(std::move(wavelengths), std::move(values), epsilon)), type_(type) {}

Scan::Scan(std::span<const double> wavelengths, std::span<const double> values, double epsilon,
           spline::Type type)
    : Scan(std::vector<double>(wavelengths.begin(), wavelengths.end()),
           std::vector<double>(values.begin(), values.end()), epsilon, type) {}

Scan::Scan(std::initializer_list<std::pair<const double, double>> points) : Scan() {
    for (const auto& [wl, value] : points) data_.insert(wl, value);
}

Scan::Scan(PointMap points, spline::Type type) noexcept : data_(std::move(points)), type_(type) {}

Scan::Scan(const Scan& other) : data_(other.data_), type_(other.type_) {}

Scan& Scan::operator=(const Scan& other) {
    if (this != &other) {
        data_ = PointMap(other.data_);
        type_ = other.type_;
    }
    spline_.clear();
    return *this;
}

Scan Scan::alike_empty_copy() const {
    return Scan(get_wavelength_epsilon(), type_);
}

void Scan::set_wavelength_epsilon(double epsilon) {
    data_ = data_.with_epsilon(epsilon);
}

void Scan::set_interpolation_type(const spline::Type& type) noexcept {
    if (type == type_) return;
    type_ = type;
    spline_.clear();
}

void Scan::insert(const std::pair<const double, double>& point) {
    data_.insert_or_assign(point.first, point.second);
    spline_.clear();
}

Scan::const_iterator Scan::at_index(std::size_t i) const noexcept {
    return {data_.keys().data() + i, data_.values().data() + i};
}

Scan::const_iterator Scan::find(const double& wl) const noexcept {
    return at_index(data_.find(wl));
}

bool Scan::contains(double wl) const noexcept {
    return data_.find(wl) != size();
}

const double& Scan::at(double wl) const {
    const std::size_t i = data_.find(wl);
    if (i == size()) throw std::out_of_range("map::at:  key not found");
    return data_.values()[i];
}

Scan::ElementReference Scan::operator[](double wl) {
    return {*this, wl};
}

bool Scan::encompasses(double wl) const noexcept {
    return !empty() && data_.keys().front() <= wl && wl <= data_.keys().back();
}

double Scan::min_wavelength() const {
    if (empty()) throw std::runtime_error("Scan::min_wavelength: empty scan");
    return data_.keys().front();
}

double Scan::max_wavelength() const {
    if (empty()) throw std::runtime_error("Scan::max_wavelength: empty scan");
    return data_.keys().back();
}

std::pair<std::size_t, std::size_t> Scan::index_range(double from, double to) const noexcept {
    const auto keys = data_.keys();
    const double epsilon = get_wavelength_epsilon();
    const std::size_t first = data_.lower_bound(from);
    const auto last = std::partition_point(
        keys.begin(), keys.end(), [to, epsilon](double key) { return !(key > to + epsilon); });
    return {first, std::max(first, static_cast<std::size_t>(last - keys.begin()))};
}

namespace {

/// Index of the first extreme value in [first, last), `none` when that is empty.
template <class Better>
std::size_t extreme_index(std::span<const double> values, std::size_t first, std::size_t last,
                          std::size_t none, const Better& better) {
    if (first == last) return none;
    std::size_t best = first;
    for (std::size_t i = first + 1; i < last; ++i) {
        if (better(values[i], values[best])) best = i;
    }
    return best;
}

}  // namespace

Scan::const_iterator Scan::min_element() const noexcept {
    return at_index(extreme_index(data_.values(), 0, size(), size(), std::less<>()));
}

Scan::const_iterator Scan::max_element() const noexcept {
    return at_index(extreme_index(data_.values(), 0, size(), size(), std::greater<>()));
}

Scan::const_iterator Scan::min_element(double from, double to) const noexcept {
    const auto [first, last] = index_range(from, to);
    return at_index(extreme_index(data_.values(), first, last, size(), std::less<>()));
}

Scan::const_iterator Scan::max_element(double from, double to) const noexcept {
    const auto [first, last] = index_range(from, to);
    return at_index(extreme_index(data_.values(), first, last, size(), std::greater<>()));
}

Scan::const_iterator Scan::begin() const noexcept {
    return at_index(0);
}

Scan::const_iterator Scan::end() const noexcept {
    return at_index(size());
}

std::reverse_iterator<Scan::const_iterator> Scan::rbegin() const noexcept {
    return std::make_reverse_iterator(end());
}

std::reverse_iterator<Scan::const_iterator> Scan::rend() const noexcept {
    return std::make_reverse_iterator(begin());
}

std::vector<double> Scan::get_wavelengths() const {
    return {data_.keys().begin(), data_.keys().end()};
}

std::vector<double> Scan::get_values() const {
    return {data_.values().begin(), data_.values().end()};
}

std::vector<std::vector<double>> Scan::as_vectors() const {
    return {get_wavelengths(), get_values()};
}

double Scan::operator()(double wl) const {
    const auto keys = data_.keys();
    const std::size_t i = data_.lower_bound(wl);
    if (data_.matches(i, wl)) return data_.values()[i];
    if (keys.empty() || wl < keys.front() || wl > keys.back()) return 0.0;
    ensure_spline();
    const numerical::Spline& kernel = *spline_.kernel();
    if (kernel.type() == numerical::InterpolationType::POLYNOMIAL) return kernel.eval(wl);
    return numerical::cubic(kernel.piece(kernel.find_interval(wl, i - 1)), wl);
}

void Scan::evaluate(std::span<const double> wavelengths, std::span<double> values) const {
    ScanCursor (*this)(wavelengths, values);
}

double Scan::operator()(double a, double b) const {
    if (a == b || empty()) return 0.0;
    ensure_spline();
    if (std::isnan(a) || std::isnan(b)) return std::numeric_limits<double>::quiet_NaN();
    const double low = std::max(std::min(a, b), min_wavelength());
    const double high = std::min(max_wavelength(), b);
    return high > low ? spline_.integ(low, high) : 0.0;
}

double Scan::integral() const {
    if (empty() || min_wavelength() == max_wavelength()) return 0.0;
    ensure_spline();
    return spline_.integ(min_wavelength(), max_wavelength());
}

double Scan::deriv(double wl) const {
    ensure_spline();
    return spline_.deriv(wl);
}

void Scan::deriv(std::span<const double> wavelengths, std::span<double> values) const {
    ensure_spline();
    const numerical::Spline& kernel = *spline_.kernel();
    for (std::size_t i = 0; i < wavelengths.size(); ++i) values[i] = kernel.deriv(wavelengths[i]);
}

Scan& Scan::operator*=(double k) {
    transform(internal::multiply, k);
    return *this;
}

Scan& Scan::operator/=(double k) {
    transform(internal::divide, k);
    return *this;
}

Scan& Scan::operator+=(double k) {
    transform(internal::add, k);
    return *this;
}

Scan& Scan::operator-=(double k) {
    transform(internal::subtract, k);
    return *this;
}

Scan& Scan::operator*=(const Scan& other) {
    transform(internal::multiply, other);
    return *this;
}

Scan& Scan::operator/=(const Scan& other) {
    transform(internal::divide, other);
    return *this;
}

Scan& Scan::operator+=(const Scan& other) {
    if (empty()) return *this = other;
    transform(internal::add, other);
    return *this;
}

Scan& Scan::operator-=(const Scan& other) {
    if (empty()) return *this = -other;
    transform(internal::subtract, other);
    return *this;
}

Scan Scan::operator-() const {
    return utils::transform(*this, -1.0, internal::multiply);
}

void Scan::add_keys(const Scan& other) {
    add_keys(other.data_.keys());
}

void Scan::add_keys(std::span<const double> wavelengths) {
    Scan extended(*this);
    // The first value is of the interpolant that this scan has, which no change has dropped yet.
    const Scan* source = this;
    for (const double wl : wavelengths) {
        extended.insert({wl, (*source)(wl)});
        source = &extended;
    }
    *this = std::move(extended);
}

void Scan::trim(double from, double to) {
    data_.trim(from, to);
    spline_.clear();
}

void Scan::trim(const Scan& other) {
    trim(other.min_wavelength(), other.max_wavelength());
}

void Scan::initialize_spline() const {
    if (type_ == spline::Type::NONE) {
        throw std::runtime_error("Cannot initialize a spline with type None");
    }
    if (!spline_.set(data_.keys(), data_.values(), type_)) {
        throw std::runtime_error("Cannot initialize a spline, too few points");
    }
}

void ScanCursor::bind_kernel() {
    scan_.ensure_spline();
    kernel_ = scan_.spline_.kernel();
    polynomial_ = kernel_->type() == numerical::InterpolationType::POLYNOMIAL;
}

void ScanCursor::operator()(std::span<const double> wavelengths, std::span<double> values) {
    for (std::size_t i = 0; i < wavelengths.size();) {
        double wl = wavelengths[i];
        seek(wl);
        if (is_hit(wl)) {
            values[i++] = values_[index_];
            continue;
        }
        values[i++] = between_points(wl, numerical::cubic);
        if (kernel_ == nullptr || polynomial_ || index_ == 0 || index_ == size_) continue;

        // Whatever follows inside the same pair of points and the same interval needs no search.
        // The two differ only while an old spline serves a scan whose epsilon was widened.
        const std::size_t interval = kernel_->find_interval(wl, index_ - 1);
        const double low = std::max(keys_[index_ - 1] + epsilon_, kernel_->knots()[interval]);
        const double high = std::min(keys_[index_], kernel_->knots()[interval + 1]);
        const numerical::Spline::Piece piece = kernel_->piece(interval);
        for (; i < wavelengths.size(); ++i) {
            wl = wavelengths[i];
            if (!(low < wl && wl + epsilon_ < high)) break;
            values[i] = numerical::cubic(piece, wl);
        }
    }
}

bool operator==(const Scan& a, const Scan& b) noexcept {
    const double epsilon = a.get_wavelength_epsilon();
    if (epsilon != b.get_wavelength_epsilon() || a.size() != b.size()) return false;
    const auto keys_a = a.data().keys();
    const auto keys_b = b.data().keys();
    for (std::size_t i = 0; i < keys_a.size(); ++i) {
        if (std::abs(keys_a[i] - keys_b[i]) > epsilon) return false;
    }
    return std::equal(a.data().values().begin(), a.data().values().end(),
                      b.data().values().begin());
}

std::ostream& operator<<(std::ostream& stream, const Scan& scan) {
    stream << std::endl;
    for (const auto [wl, value] : scan) stream << wl << ", " << value << std::endl;
    return stream;
}

}  // namespace vekanalysis
