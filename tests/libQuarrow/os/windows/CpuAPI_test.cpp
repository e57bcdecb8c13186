#include <libQuarrow/os/windows/cpu/x86/CpuGroupAPI.h>
#include <libQuarrow/os/windows/cpu/x86/CpuLegacyAPI.h>

#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>

#include <cstddef>

namespace libQuarrow::cpu {
namespace {

using RecordEx = SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX;
using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;

// What both system calls fill the caller's buffer with, and where they fail. Each test starts afresh.
struct FakeSystem {
    std::vector<std::byte> bytes;
    BOOL sizeAnswer = FALSE; // of the call without a buffer, which should fail with this error
    DWORD error = ERROR_INSUFFICIENT_BUFFER;
    BOOL answer = TRUE; // of the call with a buffer
    DWORD excess = 0;   // how much more than the buffer it then says it wrote
    unsigned int calls = 0;

    BOOL fill(void* buffer, DWORD* length) {
        const bool sizeOnly = ++calls == 1 && *length == 0;
        *length = static_cast<DWORD>(bytes.size()) + (sizeOnly ? 0 : excess);
        SetLastError(error);
        if (!sizeOnly) {
            std::copy(bytes.begin(), bytes.end(), static_cast<std::byte*>(buffer));
        }
        return sizeOnly ? sizeAnswer : answer;
    }
} fake;

BOOL WINAPI fillEx(LOGICAL_PROCESSOR_RELATIONSHIP relationship, RecordEx* buffer, PDWORD length) {
    EXPECT_EQ(relationship, RelationProcessorPackage);
    return fake.fill(buffer, length);
}
BOOL WINAPI fillOld(Record* buffer, PDWORD length) {
    return fake.fill(buffer, length);
}

class CpuWalk : public testing::Test {
  protected:
    CpuWalk() { fake = FakeSystem(); }

    static void add(const void* record, std::size_t size) {
        const auto* const bytes = static_cast<const std::byte*>(record);
        fake.bytes.insert(fake.bytes.end(), bytes, bytes + size);
    }
    // `sizeError` and `countError` are added to what the record says of itself.
    static void addPackage(const std::vector<GROUP_AFFINITY>& groups, DWORD sizeError = 0, WORD countError = 0) {
        RecordEx record{};
        const std::size_t head = offsetof(RecordEx, Processor.GroupMask);
        record.Relationship = RelationProcessorPackage;
        record.Size = static_cast<DWORD>(head + groups.size() * sizeof(GROUP_AFFINITY)) + sizeError;
        record.Processor.GroupCount = static_cast<WORD>(groups.size() + countError);
        add(&record, head);
        add(groups.data(), groups.size() * sizeof(GROUP_AFFINITY));
    }
    static void addOld(ULONG_PTR mask, LOGICAL_PROCESSOR_RELATIONSHIP relationship = RelationProcessorCore) {
        Record record{};
        record.ProcessorMask = mask;
        record.Relationship = relationship;
        add(&record, sizeof record);
    }
    static std::string groups() {
        fake.calls = 0;
        CpuGroupAPI api = CpuGroupAPI::create().value();
        api.m_pGetLogicalProcessorInformationEx = &fillEx;
        const std::vector<_GROUP_AFFINITY> found = api.getProcessGroupAffinity();
        return brief(std::vector<GroupAffinity>(found.begin(), found.end()));
    }
    // The masks of the cores that the legacy walk visits.
    static std::vector<ULONG_PTR> cores() {
        fake.calls = 0;
        CpuLegacyAPI api = CpuLegacyAPI::create().value();
        api.m_pGetLogicalProcessorInformation = &fillOld;
        std::vector<ULONG_PTR> masks;
        api.walkLogicalCpuInfo(RelationProcessorCore, [&](const Record& core) { masks.push_back(core.ProcessorMask); });
        return masks;
    }
};

TEST_F(CpuWalk, GroupsListsEveryGroupOfEveryPackage) {
    EXPECT_EQ(groups(), "");
    EXPECT_EQ(fake.calls, 1u); // nothing to fetch
    addPackage({{0xFF, 0, {}}});
    addPackage({{0xFF00, 0, {}}, {0x3, 1, {}}}); // group 0 lies in two packages
    addPackage({});
    addPackage({{0xC, 1, {7, 7, 7}}});
    EXPECT_EQ(groups(), "0:ff 0:ff00 1:3 1:c");
    fake.error = ERROR_ACCESS_DENIED; // not looked at
    EXPECT_EQ(groups(), "0:ff 0:ff00 1:3 1:c");
    fake.answer = FALSE;
    EXPECT_EQ(groups(), "");
    fake.sizeAnswer = fake.answer = TRUE;
    EXPECT_EQ(groups(), "");
    EXPECT_EQ(fake.calls, 1u);
}

TEST_F(CpuWalk, GroupsEndsAtARecordThatCannotBe) {
    fake.excess = 4096;
    addPackage({{1, 0, {}}}, 0, 1000); // more groups than the record has room for
    addPackage({{2, 0, {}}}, 4096);    // past the buffer
    EXPECT_EQ(groups(), "0:1");
    fake.bytes.clear();
    addPackage({}, ~DWORD{31}); // its size, if believed, would keep the walk at the same place for ever
    EXPECT_EQ(groups(), "");
}

TEST_F(CpuWalk, LegacyNeverVisitsTheLastRecord) {
    std::vector<ULONG_PTR> expected;
    EXPECT_EQ(cores(), expected);
    EXPECT_EQ(fake.calls, 2u); // a size of zero is asked for all the same
    for (ULONG_PTR mask = 1; mask <= 8; mask *= 2) {
        addOld(mask);
        EXPECT_EQ(cores(), expected);
        expected.push_back(mask);
    }
    addOld(16, RelationCache);
    addOld(32);
    fake.excess = 4096;
    EXPECT_EQ(cores(), expected);

    fake.error = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(cores().empty());
    EXPECT_EQ(fake.calls, 1u);
    fake.error = ERROR_INSUFFICIENT_BUFFER;
    fake.answer = FALSE;
    EXPECT_TRUE(cores().empty());
    fake.answer = fake.sizeAnswer = TRUE;
    EXPECT_TRUE(cores().empty());
}

// The fakes above stand in for these; the groups are held against another backend's elsewhere.
TEST(CpuWalkReal, LegacyVisitsCores) {
    DWORD_PTR process = 0, system = 0, cores = 0;
    ASSERT_TRUE(GetProcessAffinityMask(GetCurrentProcess(), &process, &system));
    CpuLegacyAPI::create()->walkLogicalCpuInfo(RelationProcessorCore,
                                               [&](const Record& record) { cores |= record.ProcessorMask; });
    EXPECT_TRUE(cores != 0 && (cores & ~system) == 0);
}

} // namespace
} // namespace libQuarrow::cpu
