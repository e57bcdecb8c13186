#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_speed.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_steppings.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_thermal.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_turbo.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {

x86_intel_info::x86_intel_info(const x86_cpu& cpu) : m_cpu(&cpu) {
    findType();
}

void x86_intel_info::findType() {
    m_identity = std::make_shared<IntelIdentity>(m_cpu->getSignature(), m_cpu->getCpuName(), guardedMsrReader(*m_cpu));
}

bool x86_intel_info::getRevisionString(zel::String& text) const {
    text = intelSteppingTexts[m_identity->stepping()];
    return !text.isEmpty();
}

IntelCoreStepping x86_intel_info::getCpuRevision() const {
    return m_identity->stepping();
}

bool x86_intel_info::getTechnologyString(zel::String& text) const {
    text = m_identity->technology();
    return !text.isEmpty();
}

bool x86_intel_info::isType(std::uint32_t mask) const {
    return m_identity->isType(mask);
}

std::uint32_t x86_intel_info::getType() const {
    return m_identity->type();
}

zel::Array<zel::String> x86_intel_info::getTypeNames() const {
    return m_identity->typeNames();
}

bool x86_intel_info::getProcessorNumber(zel::String& number) const {
    if (!m_identity->numbered()) {
        return false;
    }
    number = m_identity->processorNumber();
    return !number.isEmpty();
}

bool x86_intel_info::getCpuDesignedFrequency(std::uint32_t& mhz) const {
    return intelDesignedFrequency(m_identity->brand(), mhz);
}

const boost::optional<bool>& x86_intel_info::isMobile() const {
    return m_identity->isMobile();
}

const boost::optional<bool>& x86_intel_info::isServerDie() const {
    return m_identity->isServerDie();
}

const boost::optional<bool>& x86_intel_info::isPlatformIdBit27Clear() const {
    return m_identity->isPlatformIdBit27Clear();
}

bool x86_intel_info::getPlatformId(std::uint64_t& value, bool refresh) const {
    const boost::optional<std::uint64_t>& id = m_identity->platformId.get(guardedMsrReader(*m_cpu), refresh);
    value = id.value_or(value);
    return id.has_value();
}

bool x86_intel_info::processorNumberInList(const zel::String& list, MatchRule rule) const {
    return isIntelNumberInList(m_identity->processorNumber(), list, static_cast<IntelNumberMatch>(rule));
}

bool x86_intel_info::getTCCActivationTemperature(std::uint32_t& temperature) const {
    return intelTccTemperature(*m_identity, guardedMsrReader(*m_cpu), temperature);
}

bool x86_intel_info::getWolfdale_TCCActivationTemp(std::uint32_t& temperature) const {
    return intelWolfdaleTccTemperature(*m_identity, temperature);
}

bool x86_intel_info::getAtom_TCCActivationTemp(std::uint32_t& temperature) const {
    return intelAtomTccTemperature(*m_identity, temperature);
}

bool x86_intel_info::getTurboRatioLimits(zel::Array<IntelTurboRatioLimit>& limits) const {
    const x86_pin pin(*m_cpu);
    GuardedCpuidReader cpuid(*m_cpu);
    return readIntelTurboRatioLimits(*m_identity, m_cpu->getNumberCoresPerPhysicalPackage(), cpuid,
                                     guardedMsrReader(*m_cpu), limits) &&
           !limits.isEmpty();
}

bool x86_intel_info::getMaxTurboRatioAndSpeed(std::uint64_t busClock, std::uint32_t& maxRatio,
                                              std::uint64_t& maxSpeed) const {
    const x86_pin pin(*m_cpu);
    GuardedCpuidReader cpuid(*m_cpu);
    return findIntelMaxTurbo(*m_identity, m_cpu->getNumberCoresPerPhysicalPackage(), cpuid, guardedMsrReader(*m_cpu),
                             busClock, maxRatio, maxSpeed);
}

bool x86_intel_info::getSpeedMetrics(x86_speed_metrics& metrics) const {
    const x86_pin pin(*m_cpu);
    GuardedCpuidReader guarded(*m_cpu);
    RememberingCpuidReader cpuid(guarded);
    const MsrReader readMsr = guardedMsrReader(*m_cpu);
    x86_speed_metrics found;
    found.multiplierPrecision = x86_speed_metrics::trimmedPrecision;
    readIntelSpeed(*m_identity, m_cpu->getNumberCoresPerPhysicalPackage(), cpuid, readMsr, found);
    if (!completeSpeedMetrics(cpuid, readMsr, m_identity->designedMHz(), found)) {
        return false;
    }
    metrics = found;
    return true;
}

} // namespace libQuarrow::cpu
