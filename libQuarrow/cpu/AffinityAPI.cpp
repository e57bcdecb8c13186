#include <libQuarrow/cpu/AffinityAPI.h>

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {

AffinityAPI::~AffinityAPI() = default;

std::shared_ptr<AffinityAPI> AffinityAPI::create() {
    return os::currentMachine().createAffinityAPI();
}

} // namespace libQuarrow::cpu
