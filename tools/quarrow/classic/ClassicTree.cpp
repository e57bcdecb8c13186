#include <tools/quarrow/Text.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_cache_sharing.h>

namespace quarrow {

std::string classicTreeCommand(const Request& request) {
    if (request.json) {
        return classicDocument(request);
    }
    libQuarrow::cpu::x86_cache_sharing sharing;
    const Machine machine = readMachine(request, [&](const libQuarrow::cpu::x86_cpu& cpu) { sharing.cachesOf(cpu); });
    const libQuarrow::cpu::x86_physical_cpus& tree = machine.tree;
    std::string text = printable(tree.toString());
    for (std::size_t i = 0; i < tree.size(); ++i) {
        libQuarrow::cpu::x86_caches caches;
        const bool known = sharing.cachesOf(tree[i], caches) && !caches.isEmpty();
        text += i == 0 ? "\n" : "";
        text += "Caches of PHYSICAL_CPU[" + std::to_string(i) + (known ? "]:\n" : "]: not known\n\n");
        text += printable(caches.toString(3));
    }
    return text;
}

} // namespace quarrow
