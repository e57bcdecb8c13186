#include <libQuarrow/os/NativeMachine.h>

namespace libQuarrow::os {

Machine& nativeMachine() {
    static NativeMachine machine;
    return machine;
}

} // namespace libQuarrow::os
