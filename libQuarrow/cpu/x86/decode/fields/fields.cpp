#include <libQuarrow/cpu/x86/decode/fields/fields.h>

#include <libQuarrow/cpu/x86/decode/fields/extended_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/extended_flags.h>
#include <libQuarrow/cpu/x86/decode/fields/hypervisor_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/leaf_titles.h>
#include <libQuarrow/cpu/x86/decode/fields/other_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/other_flags.h>
#include <libQuarrow/cpu/x86/decode/fields/resource_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/standard_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/standard_flags.h>

#include <iterator>

namespace libQuarrow::cpu {

using namespace cpuid_fields;

// Tables of other leaves, or of other hypervisors, cannot overlap.
static_assert(fieldsAreApart(standardFields, standardCpuidFlags), "nothing may state a bit twice");
static_assert(fieldsAreApart(extendedFields, extendedCpuidFlags), "nothing may state a bit twice");
static_assert(fieldsAreApart(otherFields, otherCpuidFlags), "nothing may state a bit twice");
static_assert(fieldsAreApart(monitoringFields<commonMonitoring>, standardCpuidFlags), "nothing may state a bit twice");
static_assert(fieldsAreApart(allocationFields<commonAllocation>, standardCpuidFlags), "nothing may state a bit twice");
static_assert(fieldsAreApart(monitoringFields<asymmetricMonitoring>, asymmetricFields),
              "nothing may state a bit twice");
static_assert(fieldsAreApart(allocationFields<asymmetricAllocation>, asymmetricFields),
              "nothing may state a bit twice");
static_assert(fieldsAreApart(kvmFields, hypervisorFields), "nothing may state a bit twice");
static_assert(fieldsAreApart(hyperVFields, hypervisorFields), "nothing may state a bit twice");
static_assert(fieldsAreApart(xenFields, hypervisorFields), "nothing may state a bit twice");
static_assert(fieldsAreApart(vmwareFields, hypervisorFields), "nothing may state a bit twice");

namespace {

template <std::size_t count>
CpuidFieldTable tableOf(const CpuidField (&rows)[count]) {
    return {std::begin(rows), std::end(rows)};
}

} // namespace

const std::vector<CpuidFieldTable>& cpuidFieldTables() {
    static const std::vector<CpuidFieldTable> tables = {
        tableOf(standardCpuidFlags),
        tableOf(extendedCpuidFlags),
        tableOf(otherCpuidFlags),
        tableOf(standardFields),
        tableOf(monitoringFields<commonMonitoring>),
        tableOf(allocationFields<commonAllocation>),
        tableOf(monitoringFields<asymmetricMonitoring>),
        tableOf(allocationFields<asymmetricAllocation>),
        tableOf(asymmetricFields),
        tableOf(extendedFields),
        tableOf(otherFields),
        tableOf(hypervisorFields),
        tableOf(kvmFields),
        tableOf(hyperVFields),
        tableOf(xenFields),
        tableOf(vmwareFields),
    };
    return tables;
}

const std::vector<CpuidLeafTitle>& cpuidLeafTitles() {
    static const std::vector<CpuidLeafTitle> titles(std::begin(leafTitles), std::end(leafTitles));
    return titles;
}

} // namespace libQuarrow::cpu
