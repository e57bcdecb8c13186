#include <libQuarrow/c/ProcessorTexts.h>

#include <libQuarrow/c/Failure.h>
#include <libQuarrow/document/ProcessorWords.h>
#include <libQuarrow/topology/names/HypervisorNames.h>
#include <libQuarrow/topology/names/ProcessorNames.h>

#include <map>
#include <utility>

namespace libQuarrow::c {
namespace {

ProcessorTexts::Texts textsOf(const topology::Processor& processor) {
    const topology::ProcessorIdentity& identity = *processor.identity;
    const topology::ProcessorNames names = namesOf(processor);
    ProcessorTexts::Texts texts;
    texts.name = document::processorName(identity);
    texts.microarchitecture = orNull(names.microarchitecture);
    texts.codename = orNull(names.codename);
    texts.process = orNull(names.process);
    texts.revision = orNull(names.revision);
    texts.packageName = orNull(names.package);
    if (identity.hypervisor) {
        texts.hypervisor = identity.hypervisor->signature.c_str();
        texts.hypervisorName = orNull(topology::hypervisorNamed(identity.hypervisor->signature));
    }
    return texts;
}

} // namespace

const ProcessorTexts::Texts& ProcessorTexts::of(const topology::Topology& topology, std::size_t index) {
    std::call_once(m_once, [&] { find(topology); });
    return *m_ofProcessors[index];
}

void ProcessorTexts::find(const topology::Topology& topology) {
    m_texts.clear(); // of an attempt that memory did not suffice for
    m_ofProcessors.clear();
    m_ofProcessors.reserve(topology.processors().size());
    std::map<std::pair<const topology::ProcessorIdentity*, std::optional<topology::CoreKind>>, const Texts*> known;
    for (const topology::Processor& processor : topology.processors()) {
        const Texts*& texts = known[{processor.identity.get(), processor.kind}];
        if (texts == nullptr) {
            m_texts.push_back(textsOf(processor));
            texts = &m_texts.back();
        }
        m_ofProcessors.push_back(texts);
    }
}

} // namespace libQuarrow::c
