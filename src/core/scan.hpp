#pragma once

#include <cmath>
#include <compare>
#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

#include "point_map.hpp"
#include "spline.hpp"

namespace vekanalysis {

/// Wavelength tolerance of a Scan unless it is given one: below one unit in the last place of any
/// wavelength in use, so that only identical wavelengths coincide.
inline constexpr double default_epsilon = 1e-20;

/// A spectrum: ordered (wavelength, value) points, a wavelength tolerance and an interpolation
/// type.
///
/// Wavelengths are in nm by convention, values in any unit. Two wavelengths a <= b are the same key
/// when not a + epsilon < b, all of them under an infinite epsilon; the wavelength that created a
/// point stays its key. Evaluation gives the
/// stored value on such a hit, 0.0 outside [min_wavelength(), max_wavelength()] (there is no
/// extrapolation), and otherwise the interpolant, which is built on first need and dropped by every
/// change of points or type. Infinite wavelengths are ordinary keys. A NaN wavelength is refused by
/// everything that stores it, equals no key in a lookup, and evaluates to NaN between the ends.
///
/// One Scan must not be used from two threads at once, since evaluation fills the spline cache;
/// with the spline built (`ensure_spline`) any number of threads may read it.
class Scan {
public:
    class const_iterator;
    class ElementReference;
    using value_type = std::pair<double, double>;

    /// Empty scan.
    ///
    /// @throws std::invalid_argument  "Scan: epsilon must not be negative or NaN"
    explicit Scan(double epsilon = default_epsilon, spline::Type type = spline::Type::AKIMA);

    /// Scan of the pairs (wavelengths[i], values[i]), inserted in order: of equivalent wavelengths
    /// the first is the key and the last gives the value.
    ///
    /// @param wavelengths, values  shape (N) each, any order; taken over without a copy when moved
    /// in
    /// @throws std::runtime_error     "Scan::Scan: wavelength and signal must be the same size"
    /// @throws std::invalid_argument  "Scan: wavelength must not be NaN", or as above
    Scan(std::vector<double> wavelengths, std::vector<double> values,
         double epsilon = default_epsilon, spline::Type type = spline::Type::AKIMA);
    Scan(std::span<const double> wavelengths, std::span<const double> values,
         double epsilon = default_epsilon, spline::Type type = spline::Type::AKIMA);

    /// Scan of literal points.
    ///
    /// Deliberate: of equivalent wavelengths the first pair wins, unlike the array constructors.
    Scan(std::initializer_list<std::pair<const double, double>> points);

    Scan(const Scan& other);
    Scan(Scan&&) noexcept = default;
    Scan& operator=(const Scan& other);
    Scan& operator=(Scan&&) noexcept = default;
    ~Scan() = default;

    /// Takes over points that are already in order; for functions that make scans.
    Scan(PointMap points, spline::Type type) noexcept;

    /// Empty scan with this scan's epsilon and interpolation type.
    [[nodiscard]] Scan alike_empty_copy() const;

    [[nodiscard]] double get_wavelength_epsilon() const noexcept { return data_.epsilon(); }

    /// Changes the tolerance. Of each run of wavelengths that it merges the lowest stays, with its
    /// own value.
    ///
    /// Deliberate: the spline is not dropped; one that was built goes on serving the wavelengths
    /// between the points until the next change of points or type.
    /// @throws std::invalid_argument  "Scan: epsilon must not be negative or NaN"
    void set_wavelength_epsilon(double epsilon);

    [[nodiscard]] spline::Type get_interpolation_type() const noexcept { return type_; }
    void set_interpolation_type(const spline::Type& type) noexcept;
    [[nodiscard]] bool is_interpolated() const noexcept { return type_ != spline::Type::NONE; }

    /// Replaces the value of the equivalent wavelength, whose key stays, or adds a point.
    ///
    /// @throws std::invalid_argument  "Scan: wavelength must not be NaN"
    void insert(const std::pair<const double, double>& point);

    [[nodiscard]] const_iterator find(const double& wl) const noexcept;
    [[nodiscard]] bool contains(double wl) const noexcept;

    /// Value of the stored point equivalent to `wl`; never interpolates.
    ///
    /// @throws std::out_of_range  "map::at:  key not found"
    [[nodiscard]] const double& at(double wl) const;
    [[nodiscard]] double operator[](double wl) const { return at(wl); }
    [[nodiscard]] ElementReference operator[](double wl);

    /// True when min_wavelength() <= wl <= max_wavelength(), compared exactly; false when empty.
    [[nodiscard]] bool encompasses(double wl) const noexcept;

    /// @throws std::runtime_error  "Scan::min_wavelength: empty scan"
    [[nodiscard]] double min_wavelength() const;
    /// @throws std::runtime_error  "Scan::max_wavelength: empty scan"
    [[nodiscard]] double max_wavelength() const;

    /// Point with the smallest or largest value, the lowest wavelength of equal ones; end() when
    /// there is none. The ranged forms look at the keys with key + epsilon >= from and
    /// key <= to + epsilon.
    [[nodiscard]] const_iterator min_element() const noexcept;
    [[nodiscard]] const_iterator max_element() const noexcept;
    [[nodiscard]] const_iterator min_element(double from, double to) const noexcept;
    [[nodiscard]] const_iterator max_element(double from, double to) const noexcept;

    [[nodiscard]] const_iterator begin() const noexcept;
    [[nodiscard]] const_iterator end() const noexcept;
    [[nodiscard]] std::reverse_iterator<const_iterator> rbegin() const noexcept;
    [[nodiscard]] std::reverse_iterator<const_iterator> rend() const noexcept;

    [[nodiscard]] bool empty() const noexcept { return data_.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return data_.size(); }

    /// The points themselves: two parallel arrays, wavelengths ascending.
    [[nodiscard]] const PointMap& data() const noexcept { return data_; }

    /// Calls f on every point, ascending; f may change the value (`second`). When f throws, the
    /// scan stays as it was.
    template <class F>
    void for_each(F f);

    [[nodiscard]] std::vector<double> get_wavelengths() const;
    [[nodiscard]] std::vector<double> get_values() const;
    /// The wavelengths, then the values.
    [[nodiscard]] std::vector<std::vector<double>> as_vectors() const;

    /// Value at `wl`: the stored one on a hit, 0.0 outside the data, else the interpolant.
    ///
    /// @throws std::runtime_error  "Cannot initialize a spline with type None" or
    ///                             "Cannot initialize a spline, too few points", only when `wl`
    ///                             lies between stored points
    [[nodiscard]] double operator()(double wl) const;

    /// The same for an array of wavelengths in any order (ascending ones are fastest).
    ///
    /// @param wavelengths  shape (N)
    /// @param values       shape (N), receives the results; may be the same memory
    void evaluate(std::span<const double> wavelengths, std::span<double> values) const;

    /// Integral of the interpolant from a to b, clipped to the data; NaN where a limit is NaN, but
    /// 0.0 for an empty scan.
    ///
    /// Deliberate: the upper limit is b itself, so a > b gives 0.0 (once the spline is built), not
    /// a negative integral.
    /// @throws std::runtime_error  the spline's errors, unless a == b or the scan is empty
    [[nodiscard]] double operator()(double a, double b) const;

    /// Integral over the whole stored range; 0.0 for fewer than two points. Throws the spline's
    /// errors otherwise.
    [[nodiscard]] double integral() const;

    /// First derivative of the interpolant at `wl`, 0.0 outside the data. Always builds the spline
    /// and so throws its errors, for an empty scan too.
    [[nodiscard]] double deriv(double wl) const;
    /// The same for an array: shapes (N) and (N).
    void deriv(std::span<const double> wavelengths, std::span<double> values) const;

    /// Every value v becomes f(v, k).
    template <class F>
    void transform(const F& f, double k);

    /// Every point (w, v) becomes (w, f(v, other(w))). The grid stays; when `other` cannot be
    /// evaluated the scan is left as it was.
    template <class F>
    void transform(const F& f, const Scan& other);

    Scan& operator*=(double k);
    Scan& operator/=(double k);
    Scan& operator+=(double k);
    Scan& operator-=(double k);
    Scan& operator*=(const Scan& other);
    Scan& operator/=(const Scan& other);
    /// Deliberate: an empty left side becomes a copy of `other` (or its negation), epsilon and type
    /// included, so that an accumulator can start empty.
    Scan& operator+=(const Scan& other);
    Scan& operator-=(const Scan& other);
    [[nodiscard]] Scan operator-() const;

    /// Adds each wavelength of `other`, ascending, with this scan's own value there. Each addition
    /// takes part in the interpolation of the next.
    void add_keys(const Scan& other);
    /// The same for wavelengths in the order in which they are to be added.
    void add_keys(std::span<const double> wavelengths);

    /// Erases every point below `from` or above `to`, compared exactly.
    void trim(double from, double to);
    /// Trims to the range of `other`. Throws as `min_wavelength` when that is empty.
    void trim(const Scan& other);

    /// Builds the spline unless it is built.
    ///
    /// @throws std::runtime_error  "Cannot initialize a spline with type None" or
    ///                             "Cannot initialize a spline, too few points"
    void ensure_spline() const {
        if (!spline_.is_built()) initialize_spline();
    }
    /// Builds the spline in any case. Throws as `ensure_spline`.
    void initialize_spline() const;
    /// The same under their established names.
    void __ensure_spline() const { ensure_spline(); }
    void __initialize_spline() const { initialize_spline(); }

private:
    friend class ScanCursor;

    /// Index range [first, last) of the keys inside [from, to], widened by epsilon.
    [[nodiscard]] std::pair<std::size_t, std::size_t> index_range(double from,
                                                                  double to) const noexcept;
    [[nodiscard]] const_iterator at_index(std::size_t i) const noexcept;

    PointMap data_;
    spline::Type type_;
    mutable Spline spline_;
};

/// Random-access iterator over (wavelength, value) pairs, which it makes on the fly.
///
/// Valid until points are added to or erased from the scan.
class Scan::const_iterator {
public:
    using iterator_concept = std::random_access_iterator_tag;
    using iterator_category = std::input_iterator_tag;
    using value_type = Scan::value_type;
    struct Arrow {
        value_type pair;
        const value_type* operator->() const noexcept { return &pair; }
    };
    using difference_type = std::ptrdiff_t;
    using reference = value_type;
    using pointer = Arrow;

    const_iterator() = default;
    const_iterator(const double* wavelength, const double* value) noexcept
        : wavelength_(wavelength), value_(value) {}

    reference operator*() const noexcept { return {*wavelength_, *value_}; }
    pointer operator->() const noexcept { return {**this}; }
    reference operator[](difference_type n) const noexcept { return *(*this + n); }

    const_iterator& operator+=(difference_type n) noexcept {
        wavelength_ += n;
        value_ += n;
        return *this;
    }
    const_iterator& operator-=(difference_type n) noexcept { return *this += -n; }
    const_iterator& operator++() noexcept { return *this += 1; }
    const_iterator& operator--() noexcept { return *this += -1; }
    const_iterator operator++(int) noexcept {
        const_iterator old = *this;
        ++*this;
        return old;
    }
    const_iterator operator--(int) noexcept {
        const_iterator old = *this;
        --*this;
        return old;
    }
    friend const_iterator operator+(const_iterator it, difference_type n) noexcept {
        return it += n;
    }
    friend const_iterator operator+(difference_type n, const_iterator it) noexcept {
        return it += n;
    }
    friend const_iterator operator-(const_iterator it, difference_type n) noexcept {
        return it -= n;
    }
    friend difference_type operator-(const const_iterator& a, const const_iterator& b) noexcept {
        return a.wavelength_ - b.wavelength_;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) noexcept {
        return a.wavelength_ == b.wavelength_;
    }
    friend std::strong_ordering operator<=>(const const_iterator& a,
                                            const const_iterator& b) noexcept {
        return a.wavelength_ <=> b.wavelength_;
    }

private:
    const double* wavelength_ = nullptr;
    const double* value_ = nullptr;
};

/// What `scan[wl]` gives on a scan that may be changed: reads like `at`, assigns like `insert`.
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions): it owns nothing
class Scan::ElementReference {
public:
    ElementReference(Scan& scan, double wl) noexcept : scan_(scan), wl_(wl) {}

    // NOLINTNEXTLINE(google-explicit-constructor): stands for the value itself
    operator double() const { return scan_.at(wl_); }

    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the element is assigned, not this
    double operator=(double value) const {
        scan_.insert({wl_, value});
        return value;
    }
    /// Assigns the other's value, which may be of another scan.
    ///
    /// @throws std::out_of_range  as `at`, when the other has no such point; nothing changes then
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the element is assigned, not this
    double operator=(const ElementReference& other) const { return *this = double{other}; }
    ElementReference(const ElementReference&) = default;

private:
    Scan& scan_;
    double wl_;
};

/// Evaluates a scan along a walk of wavelengths, like `scan(wl)` at each.
///
/// Ascending wavelengths cost amortised O(1) each, any other step one binary search. The spline is
/// built when a wavelength first falls between points. The scan must not change while it is in use.
class ScanCursor {
public:
    explicit ScanCursor(const Scan& scan) noexcept
        : scan_(scan),
          keys_(scan.data_.keys().data()),
          values_(scan.data_.values().data()),
          size_(scan.data_.size()),
          epsilon_(scan.data_.epsilon()) {}

    [[nodiscard]] double operator()(double wl) {
        return evaluate(
            wl, [](const numerical::Spline::Piece& piece, double x) noexcept { return piece(x); });
    }

    /// The same with a function of one's own for the value of an interval's polynomial at a
    /// wavelength; the loops of the library pass one that is inlined.
    template <class ValueOfPiece>
    [[nodiscard]] double evaluate(double wl, const ValueOfPiece& value_of) {
        seek(wl);
        return is_hit(wl) ? values_[index_] : between_points(wl, value_of);
    }

    /// Evaluates an array; `values` may be the same memory as `wavelengths`.
    void operator()(std::span<const double> wavelengths, std::span<double> values);

    /// The curve between the points.
    [[nodiscard]] const numerical::Spline& interpolant() {
        if (kernel_ == nullptr) bind_kernel();
        return *kernel_;
    }

private:
    /// Moves to the first key with key + epsilon >= wl.
    void seek(double wl) noexcept {
        if (index_ > 0 && !(keys_[index_ - 1] + epsilon_ < wl)) {
            index_ = scan_.data_.lower_bound(wl);
            return;
        }
        for (int steps = 0; index_ < size_ && keys_[index_] + epsilon_ < wl; ++index_, ++steps) {
            if (steps == max_steps) {
                index_ = scan_.data_.lower_bound(wl);
                return;
            }
        }
    }
    [[nodiscard]] bool is_hit(double wl) const noexcept {
        return index_ < size_ && !(wl + epsilon_ < keys_[index_]) && wl == wl;
    }
    template <class ValueOfPiece>
    [[nodiscard]] double between_points(double wl, const ValueOfPiece& value_of) {
        if (size_ == 0 || wl < keys_[0] || wl > keys_[size_ - 1]) return 0.0;
        if (kernel_ == nullptr) bind_kernel();
        if (polynomial_) return kernel_->eval(wl);
        return value_of(kernel_->piece(kernel_->find_interval(wl, index_ - 1)), wl);
    }
    void bind_kernel();

    static constexpr int max_steps = 16;

    const Scan& scan_;
    const double* keys_;
    const double* values_;
    std::size_t size_;
    double epsilon_;
    std::size_t index_ = 0;
    const numerical::Spline* kernel_ = nullptr;
    bool polynomial_ = false;
};

template <class F>
void Scan::for_each(F f) {
    std::vector<double> values(size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::pair<const double, double> point(data_.keys()[i], data_.values()[i]);
        f(point);
        values[i] = point.second;
    }
    data_.replace_values(std::move(values));
    spline_.clear();
}

template <class F>
void Scan::transform(const F& f, double k) {
    std::vector<double> values(size());
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = f(data_.values()[i], k);
    data_.replace_values(std::move(values));
    spline_.clear();
}

template <class F>
void Scan::transform(const F& f, const Scan& other) {
    std::vector<double> values(size());
    other.evaluate(data_.keys(), values);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = f(data_.values()[i], values[i]);
    data_.replace_values(std::move(values));
    spline_.clear();
}

/// True when the epsilons are equal, the sizes are equal, each pair of wavelengths differs by at
/// most epsilon and each pair of values is exactly equal. Interpolation types are not compared.
[[nodiscard]] bool operator==(const Scan& a, const Scan& b) noexcept;

/// Writes a line end, then a line "wavelength, value" for each point, in the stream's own number
/// format.
std::ostream& operator<<(std::ostream& stream, const Scan& scan);

}  // namespace vekanalysis
