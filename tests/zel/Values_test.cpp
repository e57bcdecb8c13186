#include <zel/Assertion.h>
#include <zel/EndianMode.h>
#include <zel/Measurement.h>
#include <zel/SharedResource.h>
#include <zel/Temperature.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace zel;

TEST(Temperature, ShowsItsDecimalPlaces) {
    const struct {
        Temperature temperature;
        const char* expected;
    } cases[] = {
        {Temperature(), "0 \xB0"
                        "C"},
        {Temperature(60), "60 \xB0"
                          "C"},
        {Temperature(605, 1), "60.5 \xB0"
                              "C"},
        {Temperature(600, 1), "60.0 \xB0"
                              "C"},
        {Temperature(-5, 1), "-0.5 \xB0"
                             "C"},
        {Temperature(5, 3), "0.005 \xB0"
                            "C"},
        {Temperature(std::numeric_limits<int>::min(), 9), "-2.147483648 \xB0"
                                                          "C"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.temperature.toString(), c.expected);
    }
    EXPECT_THROW(Temperature(1, 10), AssertionError);
}

TEST(DiscreteMeasurement, ShowsByteCountsExactly) {
    constexpr std::uint64_t KB = 1024;
    constexpr std::uint64_t MB = 1024 * KB;
    const struct {
        std::uint64_t bytes;
        const char* expected;
    } cases[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {512, "512 bytes"},
        {1023, "1023 bytes"},
        {1025, "1025 bytes"},
        {KB, "1 KB"},
        {1536, "1.5 KB"},
        {32 * KB, "32 KB"},
        {33 * KB, "33 KB"},
        {MB - 1, "1048575 bytes"},
        {MB, "1 MB"},
        {MB + KB, "1025 KB"},
        {1280 * KB, "1.25 MB"},
        {1408 * KB, "1408 KB"},
        {1792 * KB, "1.75 MB"},
        {8448 * KB, "8.25 MB"},
        {1024 * MB, "1 GB"},
        {1152 * MB, "1152 MB"},
        {1024 * 1024 * MB, "1 TB"},
        {~std::uint64_t{0}, "18446744073709551615 bytes"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DiscreteMeasurement(c.bytes).toString(), c.expected);
    }
}

TEST(Measurement, ShowsPlainNumbers) {
    EXPECT_EQ(ZELValue(12).toString(), "12");
    EXPECT_EQ(ZELValue(~std::uint64_t{0}).toString(), "18446744073709551615");
    EXPECT_EQ(NonDiscreteMeasurement(12.25, 6, 1).toString(2, 13), "12.2"); // half to even: 12.25 is exact in binary
    EXPECT_EQ(NonDiscreteMeasurement(8, 6, 0).toString(2, 13), "8");
    EXPECT_EQ(NonDiscreteMeasurement(3, 6, 8).toString(2, 13), "3.00000000");
    EXPECT_THROW(NonDiscreteMeasurement(8, 7, 0), AssertionError);
    EXPECT_THROW(NonDiscreteMeasurement(8, 6, 0).toString(2, 12), AssertionError);
}

TEST(EndianMode, ReversesWithModeTwoOnly) {
    for (const unsigned int mode : {0u, 1u, 2u, 3u, ~0u}) {
        const auto endian = static_cast<EndianMode>(mode);
        const bool reversed = mode == 2;
        EXPECT_EQ(applyEndianMode(endian, std::uint8_t{0x12}), 0x12);
        EXPECT_EQ(applyEndianMode(endian, std::uint16_t{0x1234}), reversed ? 0x3412 : 0x1234);
        EXPECT_EQ(applyEndianMode(endian, 0x12345678u), reversed ? 0x78563412u : 0x12345678u);
        EXPECT_EQ(applyEndianMode(endian, std::uint64_t{0x0102030405060708}),
                  reversed ? 0x0807060504030201u : 0x0102030405060708u);
    }
}

TEST(SharedResource, DeletesWithTheLastHolder) {
    struct Counted {
        explicit Counted(int& count) : alive(count) { ++alive; }
        ~Counted() { --alive; }
        int& alive;
    };
    using Holder = SharedResource<PointerStorage<Counted>>;
    int alive = 0;
    {
        Holder first(new Counted(alive));
        const Holder second = first;
        first = Holder();
        EXPECT_FALSE(first.isValid());
        EXPECT_EQ(first.get(), nullptr);
        EXPECT_TRUE(second.isValid());
        EXPECT_EQ(&*second, second.get());
        EXPECT_EQ(second->alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

} // namespace
