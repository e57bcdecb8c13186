#pragma once

#include <libQuarrow/cpu/ICpuTemperatureAccessor.h>

#include <memory>
#include <utility>

namespace libQuarrow::cpu {

// Owns one temperature accessor, or none. A copy owns a clone; a move hands the accessor over.
class CpuTemperatureAccessorOwner {
  public:
    CpuTemperatureAccessorOwner() = default;
    CpuTemperatureAccessorOwner(const CpuTemperatureAccessorOwner& other)
        : m_accessor(other.m_accessor ? other.m_accessor->clone() : nullptr) {}
    CpuTemperatureAccessorOwner(CpuTemperatureAccessorOwner&&) noexcept = default;
    CpuTemperatureAccessorOwner& operator=(CpuTemperatureAccessorOwner other) noexcept {
        m_accessor = std::move(other.m_accessor);
        return *this;
    }

    ICpuTemperatureAccessor* get() const { return m_accessor.get(); }
    // Deletes the one held before, unless it is the same.
    void set(ICpuTemperatureAccessor* accessor) {
        if (accessor != m_accessor.get()) {
            m_accessor.reset(accessor);
        }
    }

  private:
    std::unique_ptr<ICpuTemperatureAccessor> m_accessor;
};

} // namespace libQuarrow::cpu
