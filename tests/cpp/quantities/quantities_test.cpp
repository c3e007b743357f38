#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <vector>

#include "colorimetry/transmittance.hpp"
#include "core/scan_arithmetic.hpp"
#include "quantities/evaluate.hpp"
#include "quantities/own_tables.hpp"
#include "sampled.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::quantities {

namespace {

Scan flat(double from, double to, double value) {
    return sampled([=](double) { return value; }, from, to, 5.0);
}

Value value_of(const Quantity& quantity, const Scan& spectrum) {
    const std::vector<std::reference_wrapper<const Quantity>> wanted{quantity};
    return evaluate(spectrum, wanted, Scan(), true).front();
}

TEST(Records, AreCompleteAndTheirKeysDiffer) {
    const std::vector<Quantity> of_light = light("D65");
    for (const auto catalogue :
         {lens(), derived(), std::span<const Quantity>(of_light), photometer()}) {
        std::set<std::string> keys;
        for (const Quantity& quantity : catalogue) {
            EXPECT_TRUE(keys.insert(quantity.key).second) << quantity.key;
            EXPECT_LT(quantity.field, quantity.function->field_count) << quantity.key;
            EXPECT_EQ(quantity.key.rfind(quantity.function->name, 0), 0u) << quantity.key;
            for (const auto* text : {&quantity.symbol, &quantity.name, &quantity.unit}) {
                EXPECT_TRUE(!text->empty() && text->find('{') == std::string::npos) << quantity.key;
            }
            EXPECT_EQ(find(quantity.key).key, quantity.key);
        }
    }
    EXPECT_EQ(thrown_text([] { (void)find("ISO8980_3_tauv"); }),
              "quantities::find: no quantity 'ISO8980_3_tauv'; the nearest is 'ISO8980_3_tau_v'");
}

TEST(Evaluate, CallsAFunctionOncePerSpectrum) {
    static int calls = 0;
    static const Function counted{"counted", 2,
                                  [](const Scan& spectrum, const Scan&, std::span<double> fields) {
                                      ++calls;
                                      if (spectrum.size() == 1) throw std::out_of_range("one");
                                      fields[0] = 1.0;
                                      fields[1] = 2.0;
                                  }};
    const Quantity first{.key = "a", .function = &counted, .field = 0};
    const Quantity second{.key = "b", .function = &counted, .field = 1};
    const std::vector<std::reference_wrapper<const Quantity>> both{first, second};
    EXPECT_EQ(evaluate(flat(400, 500, 1), both, Scan(), false)[1].value, 2.0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(evaluate(flat(400, 400, 1), both, Scan(), false)[1].problem, "Not computable: one");
    EXPECT_EQ(calls, 2);
}

TEST(Evaluate, TellsWhatTheDataCoverAndWhatAClearLensGives) {
    const Quantity& uva = find("ISO8980_3_tau_uva");
    const Value whole = value_of(uva, flat(300, 400, 0.5));
    EXPECT_EQ(whole.value, colorimetry::ISO8980_3_tau_uva(flat(300, 400, 0.5)));
    EXPECT_EQ(whole.covered, whole.needed);
    const Value part = value_of(uva, flat(350, 400, 0.5));
    EXPECT_EQ(part.covered, (Range{350, 380}));
    EXPECT_EQ(part.clear_lens, colorimetry::ISO8980_3_tau_uva(flat(350, 400, 1)));
    // Es begins at 290 nm, S ends at 400 nm.
    EXPECT_EQ(find("ISO8980_3_tau_suvb").needed(), (Range{290, 315}));
    EXPECT_EQ(find("peak_wavelength").needed(), std::nullopt);
}

TEST(Evaluate, GivesAReasonWhereThereIsNoValue) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* key;
        Scan spectrum;
        const char* problem;
    } cases[] = {
        {"ISO8980_3_tau_uva", flat(400, 780, 1), "No data within 315-380 nm"},
        {"ISO8980_3_tau_uva", Scan(), "No data within 315-380 nm"},
        {"ISO8980_3_tau_uva", flat(300, 400, nan), "The result is not a finite number"},
        {"ISO8980_3_tau_v", flat(400, 415, 1),
         "Not computable: Cannot initialize a spline, too few points"},
        {"peak_wavelength", Scan(), "Not computable: there are no points"},
        {"peak_wavelength", flat(400, 780, 1),
         "Not computable: the highest point, at 400 nm, is at the end of the data, so it need not "
         "be a peak"},
        {"colour_rendering.Ra", flat(380, 780, 0),
         "Not computable: no light between 380 and 780 nm"},
        {"hazard_weighted.uv_a", flat(300, 399, 1),
         "Not computable: the spectrum covers 300 to 395 nm, not 315 to 400 nm"},
    };
    for (const auto& [key, spectrum, problem] : cases) {
        const Value value = value_of(find(key), spectrum);
        EXPECT_EQ(value.problem, problem) << key;
        EXPECT_FALSE(value.value) << key;
    }
}

TEST(OwnTables, CopiesOfTheBuiltInOnesGiveTheSameBits) {
    std::vector<OwnTable> copies;
    for (const auto& table : colorimetry::data::tables()) {
        if (is_replaceable(table.name)) copies.push_back({table.name, table.spectrum(), "own"});
    }
    ASSERT_EQ(copies.size(), 14u);
    const Scan lens_of_steps = flat(250.0, 830.0, 0.4) * flat(250.0, 605.0, 0.7);
    for (const Quantity& quantity : with_tables(lens(), copies)) {
        const auto own = value_of(quantity, lens_of_steps);
        const auto built_in = value_of(find(quantity.key), lens_of_steps);
        EXPECT_EQ(own.value, built_in.value) << quantity.key;
        EXPECT_EQ(quantity.own != nullptr, quantity.notes.size() > 0 && quantity.notes[0] == "own");
    }
}

TEST(OwnTables, AreOfKnownNamesOnce) {
    const Scan table = flat(380.0, 780.0, 1.0);
    const auto refused = [&](const std::vector<OwnTable>& tables) {
        return thrown_text([&] { (void)with_tables(lens(), tables); });
    };
    EXPECT_EQ(refused({{"cie_illuminant_a", table, ""}}),
              "with_tables: 'cie_illuminant_a' is no table that can be replaced");
    EXPECT_EQ(refused({{"ISO8980_3_led_red", table, ""}, {"ISO8980_3_led_red", table, ""}}),
              "with_tables: 'ISO8980_3_led_red' is there twice");
}

}  // namespace

}  // namespace vekanalysis::quantities
