#include <tools/quarrow/os/HostName.h>

#include <unistd.h>

namespace quarrow {

std::string hostName() {
    char name[256] = {};
    if (::gethostname(name, sizeof name - 1) != 0) {
        return {};
    }
    const std::string whole = name;
    return whole.substr(0, whole.find('.'));
}

} // namespace quarrow
