#include <libQuarrow/cpu/ICpuTemperatureAccessor.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

#include <climits>

using namespace libQuarrow::cpu;
using Reading = boost::optional<zel::Temperature>;

namespace {

struct FixedAccessor : ICpuTemperatureAccessor {
    FixedAccessor(Reading now, Reading limit) : current(now), threshold(limit) {}
    ICpuTemperatureAccessor* clone() const override { return new FixedAccessor(*this); }
    bool getCurrentTemperature(zel::Temperature& temperature) const override {
        temperature = current.value_or(temperature);
        return current.has_value();
    }
    bool getTemperatureThreshold(zel::Temperature& temperature) const override {
        temperature = threshold.value_or(temperature);
        return threshold || ICpuTemperatureAccessor::getTemperatureThreshold(temperature);
    }

    Reading current, threshold;
};

TEST(ICpuTemperatureAccessor, offset_of_whole_degrees) {
    const struct {
        Reading current, threshold;
        boost::optional<int> offset;
    } cases[] = {
        {zel::Temperature(60), zel::Temperature(100), 40},
        {zel::Temperature(105), zel::Temperature(100), -5},
        {zel::Temperature(605, 1), zel::Temperature(100), boost::none},
        {zel::Temperature(60), zel::Temperature(1000, 1), boost::none},
        {zel::Temperature(60), boost::none, boost::none}, // as with an accessor that leaves the threshold to the base
        {boost::none, zel::Temperature(100), boost::none},
        {zel::Temperature(-2), zel::Temperature(INT_MAX), boost::none}, // no int holds it
    };
    for (const auto& test : cases) {
        const auto info = FixedAccessor(test.current, test.threshold).getTemperatureInfo();
        ASSERT_TRUE(info);
        EXPECT_EQ(info->temperature.has_value(), test.current.has_value());
        EXPECT_EQ(info->threshold.has_value(), test.threshold.has_value());
        EXPECT_FALSE(info->reserved);
        const auto offset = info->thresholdOffset.map([](const auto& value) { return value.getIntegerValue(); });
        EXPECT_EQ(offset, test.offset);
        EXPECT_EQ(info->thresholdOffset.value_or(zel::Temperature()).getPrecision(), 0u);
    }
    EXPECT_FALSE(FixedAccessor(boost::none, boost::none).getTemperatureInfo());
}

} // namespace
