// The C interface says what the C++ library says.

#include <tests/c/Owned.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/topology/ProcessorAffinity.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/names/HypervisorNames.h>
#include <libQuarrow/topology/names/ProcessorNames.h>

#include <cstring>
#include <filesystem>
#include <thread>

using namespace libQuarrow;
using namespace quarrow_c_tests;
using topology::ProcessorSet;

namespace {

// `isLike`: as the one before it, of which each feature was asked.
void expectSame(const quarrow_machine* c, const topology::Processor& processor, std::size_t index, bool isLike) {
    quarrow_processor facts;
    ASSERT_EQ(quarrow_machine_processor(c, index, &facts, sizeof facts), QUARROW_OK);
    const topology::ProcessorIdentity& identity = *processor.identity;
    EXPECT_EQ(quarrow_machine_find(c, facts.number), index);
    EXPECT_EQ(std::tie(facts.number, facts.group, facts.bit, facts.package, facts.core, facts.thread),
              std::make_tuple(processor.number, std::uint32_t{processor.group}, std::uint32_t{processor.bit},
                              processor.package, processor.core, processor.thread));
    EXPECT_EQ(known(facts.apic_id), processor.apicId);
    EXPECT_EQ(known(facts.die), processor.die);
    EXPECT_EQ(known(facts.complex), processor.complex);
    EXPECT_EQ(known(facts.module), processor.module);
    EXPECT_EQ(known(facts.numa_node), processor.numaNode);
    EXPECT_EQ(facts.kind == QUARROW_NONE ? "(null)" : textOf(quarrow_kind_name(facts.kind)),
              processor.kind ? nameOf(*processor.kind) : "(null)");
    EXPECT_EQ(std::tie(facts.family, facts.model, facts.stepping, facts.signature, facts.brand_index,
                       facts.package_type, facts.max_leaf, facts.max_extended_leaf),
              std::tie(identity.family, identity.model, identity.stepping, identity.signature, identity.brandIndex,
                       identity.packageType, identity.maxLeaf, identity.maxExtendedLeaf));
    EXPECT_EQ(known(facts.core_type), identity.coreType);
    EXPECT_EQ(known(facts.physical_address_bits), identity.physicalAddressBits);
    EXPECT_EQ(known(facts.linear_address_bits), identity.linearAddressBits);
    EXPECT_EQ(known(facts.microcode), processor.microcode);
    EXPECT_EQ(facts.avx10_version, identity.avx10 ? identity.avx10->version : 0);
    EXPECT_EQ((facts.avx10_vector_bits & 512) != 0,
              identity.avx10 && !identity.avx10->vectorBits.empty() && identity.avx10->vectorBits.back() == 512);
    EXPECT_EQ(facts.level, identity.level.value_or(0));
    EXPECT_EQ(textOf(facts.vendor), identity.vendor);
    EXPECT_EQ(textOf(facts.brand), identity.brand.c_str());
    EXPECT_FALSE(textOf(facts.name).empty());
    const topology::ProcessorNames names = namesOf(processor);
    EXPECT_EQ(textOf(facts.microarchitecture), textOf(names.microarchitecture));
    EXPECT_EQ(textOf(facts.codename), textOf(names.codename));
    EXPECT_EQ(textOf(facts.process), textOf(names.process));
    EXPECT_EQ(textOf(facts.revision), textOf(names.revision));
    EXPECT_EQ(textOf(facts.package_name), textOf(names.package));
    EXPECT_EQ(facts.hypervisor != nullptr, identity.hypervisor.has_value());
    if (identity.hypervisor) {
        EXPECT_EQ(facts.hypervisor, std::string(identity.hypervisor->signature.c_str()));
        EXPECT_EQ(textOf(facts.hypervisor_name), textOf(topology::hypervisorNamed(identity.hypervisor->signature)));
        EXPECT_EQ(known(facts.hypervisor_interface), identity.hypervisor->interfaceSignature);
    }
    ASSERT_EQ(facts.further_hypervisor_count, identity.furtherHypervisors.size());
    for (std::size_t i = 0; i < identity.furtherHypervisors.size(); ++i) {
        const topology::Hypervisor& further = identity.furtherHypervisors[i];
        quarrow_hypervisor told;
        ASSERT_EQ(quarrow_processor_further_hypervisor(c, facts.number, i, &told, sizeof told), QUARROW_OK);
        EXPECT_EQ(told.signature, std::string(further.signature.c_str()));
        EXPECT_EQ(textOf(told.name), textOf(topology::hypervisorNamed(further.signature)));
        EXPECT_EQ(known(told.interface_id), further.interfaceSignature);
    }
    ASSERT_EQ(facts.cache_count, processor.caches.size());
    for (std::size_t i = 0; i < processor.caches.size(); ++i) {
        std::uint32_t cache = 0;
        std::uint32_t instance = 0;
        EXPECT_EQ(quarrow_processor_cache(c, facts.number, i, &cache, &instance), QUARROW_OK);
        EXPECT_EQ(cache, processor.caches[i].cache);
        EXPECT_EQ(known(instance), processor.caches[i].instance);
    }
    for (const bool usable : {false, true}) {
        const topology::FeatureSet& features = usable ? identity.usable : identity.features;
        const auto has = usable ? quarrow_processor_can_use : quarrow_processor_has;
        const auto hasNamed = usable ? quarrow_processor_can_use_named : quarrow_processor_has_named;
        std::string all;
        for (const std::string_view name : features.names()) {
            all += (all.empty() ? "" : " ") + std::string(name);
        }
        EXPECT_EQ(Owned<char>(quarrow_processor_features(c, facts.number, usable)).get(), all);
        for (std::uint32_t i = 0; !isLike && i <= QUARROW_FEATURE_PREFETCHW; ++i) {
            const char* const name = quarrow_feature_name(i);
            EXPECT_EQ(has(c, facts.number, i), features.contains(name)) << name;
            EXPECT_EQ(hasNamed(c, facts.number, name), features.contains(name)) << name;
        }
    }
}

void expectSame(const quarrow_machine* c, const topology::Topology& machine) {
    const std::pair<std::uint32_t, const std::vector<ProcessorSet>&> levels[] = {
        {QUARROW_PACKAGES, machine.packages()},   {QUARROW_DIES, machine.dies()},
        {QUARROW_COMPLEXES, machine.complexes()}, {QUARROW_MODULES, machine.modules()},
        {QUARROW_CORES, machine.cores()},
    };
    for (const auto& [object, sets] : levels) {
        ASSERT_EQ(quarrow_machine_count(c, object), sets.size());
        for (std::size_t i = 0; i < sets.size(); ++i) {
            EXPECT_EQ(listed(quarrow_set_of_object(c, object, i)), sets[i].toList());
            EXPECT_EQ(quarrow_machine_object_number(c, object, i), i);
        }
    }
    ASSERT_EQ(quarrow_machine_count(c, QUARROW_PROCESSORS), machine.processors().size());
    for (std::size_t i = 0; i < machine.processors().size(); ++i) {
        const topology::Processor& processor = machine.processors()[i];
        expectSame(c, processor, i, i != 0 && processor.identity == machine.processors()[i - 1].identity);
    }
    ASSERT_EQ(quarrow_machine_count(c, QUARROW_CACHES), machine.caches().size());
    for (std::size_t i = 0; i < machine.caches().size(); ++i) {
        const topology::Cache& cache = machine.caches()[i];
        quarrow_cache facts;
        ASSERT_EQ(quarrow_machine_cache(c, i, &facts, sizeof facts), QUARROW_OK);
        EXPECT_EQ(std::tie(facts.level, facts.size, facts.line_size),
                  std::tie(cache.figures.level, cache.figures.sizeBytes, cache.figures.lineSizeBytes));
        EXPECT_EQ(textOf(quarrow_cache_type_name(facts.type)), nameOf(cache.figures.type));
        EXPECT_EQ(known(facts.ways), cache.figures.ways);
        EXPECT_EQ(facts.sets, cache.figures.sets.value_or(QUARROW_NONE64));
        EXPECT_EQ(known(facts.inclusive), cache.figures.inclusive);
        EXPECT_EQ(known(facts.instances), cache.instances());
        EXPECT_EQ(listed(quarrow_set_of_object(c, QUARROW_CACHES, i)), cache.processors.toList());
        for (std::size_t k = 0; cache.sharedBy && k < cache.sharedBy->size(); ++k) {
            EXPECT_EQ(listed(quarrow_set_of_cache(c, i, k)), (*cache.sharedBy)[k].toList());
        }
    }
    ASSERT_EQ(quarrow_machine_count(c, QUARROW_TLBS), machine.tlbs().size());
    for (std::size_t i = 0; i < machine.tlbs().size(); ++i) {
        const topology::TlbFigures& figures = machine.tlbs()[i].figures;
        quarrow_tlb facts;
        ASSERT_EQ(quarrow_machine_tlb(c, i, &facts, sizeof facts), QUARROW_OK);
        std::uint64_t pages = 0;
        for (const std::uint64_t size : figures.pageSizes.list()) {
            pages += size;
        }
        EXPECT_EQ(std::tie(facts.level, facts.page_sizes, facts.entries),
                  std::tie(figures.level, pages, figures.entries));
        EXPECT_EQ(textOf(quarrow_tlb_type_name(facts.type)), nameOf(figures.type));
        EXPECT_EQ(known(facts.ways), figures.ways);
        EXPECT_EQ(listed(quarrow_set_of_object(c, QUARROW_TLBS, i)), machine.tlbs()[i].processors.toList());
    }
    ASSERT_EQ(quarrow_machine_count(c, QUARROW_NUMA_NODES), machine.numaNodes().size());
    for (std::size_t i = 0; i < machine.numaNodes().size(); ++i) {
        const topology::NumaNode& node = machine.numaNodes()[i];
        EXPECT_EQ(quarrow_machine_object_number(c, QUARROW_NUMA_NODES, i), node.number);
        EXPECT_EQ(listed(quarrow_set_of_numa_node(c, node.number)), node.processors.toList());
    }
    for (std::size_t i = 0; i < quarrow_machine_count(c, QUARROW_KINDS); ++i) {
        const std::uint32_t kind = quarrow_machine_object_number(c, QUARROW_KINDS, i);
        const ProcessorSet ours = machine.ofKind(static_cast<topology::CoreKind>(kind));
        EXPECT_FALSE(ours.empty());
        EXPECT_EQ(listed(quarrow_set_of_kind(c, kind)), ours.toList());
        EXPECT_EQ(listed(quarrow_set_of_object(c, QUARROW_KINDS, i)), ours.toList());
    }
    EXPECT_EQ(quarrow_machine_count(c, QUARROW_LEFT_OUT), machine.leftOut().size());
    EXPECT_EQ(listed(quarrow_set_of_machine(c)), machine.all().toList());
    EXPECT_EQ(listed(quarrow_set_one_per_core(c, nullptr)), machine.oneThreadPerCore().toList());
    const std::uint32_t first = machine.processors().front().number;
    for (std::uint32_t level = 1; level <= 4; ++level) {
        const auto sharing = machine.sharingCache(first, level);
        const std::string answer = listed(quarrow_set_sharing_cache(c, first, level));
        EXPECT_EQ(sharing ? sharing->toList() : answer, answer);
        EXPECT_EQ(sharing ? QUARROW_OK : QUARROW_ERROR_UNKNOWN, sharing ? QUARROW_OK : quarrow_error_code());
    }
}

TEST(CInterface, SaysOfEveryMachineWhatTheLibrarySays) {
    for (const std::string& file : allMachines()) {
        SCOPED_TRACE(file);
        const Owned<quarrow_machine> c(quarrow_machine_load(file.c_str(), QUARROW_WITH_MICROCODE));
        ASSERT_NE(c, nullptr) << quarrow_error_text();
        os::RecordingError error;
        os::RecordedMachine machine(os::readRecording(file, error).value());
        const os::ScopedMachine scope(machine);
        topology::TopologyRequest request;
        request.microcode = true;
        expectSame(c.get(), topology::Topology::read(request).value());
    }
}

TEST(CInterface, TakesTheLiveMachineAndRecordsIt) {
    for (const std::uint32_t take : {0U, std::uint32_t{QUARROW_MOVE_PROCESS}}) {
        const Owned<quarrow_machine> live(quarrow_machine_native(take));
        const topology::Topology topology = topology::Topology::read(take == 0).value();
        if (topology.processors().empty()) { // Wine moves no process
            EXPECT_EQ(live, nullptr);
            EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_MACHINE);
            continue;
        }
        ASSERT_NE(live, nullptr) << quarrow_error_text();
        EXPECT_FALSE(quarrow_machine_is_recorded(live.get()));
        expectSame(live.get(), topology);
    }
    const Owned<quarrow_machine> live(quarrow_machine_native(0));
    const Owned<char> recording(quarrow_machine_record(live.get()));
    ASSERT_NE(recording, nullptr) << quarrow_error_text();
    const Owned<quarrow_machine> replayed(
        quarrow_machine_parse(recording.get(), std::strlen(recording.get()), nullptr, 0));
    ASSERT_NE(replayed, nullptr) << quarrow_error_text();
    EXPECT_TRUE(quarrow_machine_is_recorded(replayed.get()));
    expectSame(replayed.get(), topology::Topology::read().value());
    EXPECT_STREQ(Owned<char>(quarrow_machine_record(replayed.get())).get(), recording.get());
    const std::string json = Owned<char>(quarrow_machine_json(replayed.get())).get();
    EXPECT_NE(json.find("\"machine\": \"memory\""), std::string::npos);
}

TEST(CInterface, WritesRecordingsIntoFiles) {
    const auto machine = load("intel-2p-smt.txt");
    const std::string path = (std::filesystem::temp_directory_path() / "quarrow_c_test.txt").string();
    ASSERT_EQ(quarrow_machine_record_to(machine.get(), path.c_str()), QUARROW_OK) << quarrow_error_text();
    const Owned<quarrow_machine> again(quarrow_machine_load(path.c_str(), 0));
    std::filesystem::remove(path);
    ASSERT_NE(again, nullptr) << quarrow_error_text();
    EXPECT_STREQ(Owned<char>(quarrow_machine_record(again.get())).get(),
                 Owned<char>(quarrow_machine_record(machine.get())).get());
    EXPECT_EQ(quarrow_machine_record_to(machine.get(), QUARROW_SOURCE_DIR), QUARROW_ERROR_INPUT);
    EXPECT_NE(std::string(quarrow_error_text()).find("folder"), std::string::npos);
}

TEST(CInterface, TellsSpeedsAndLimitsWhereTheyWereAskedFor) {
    quarrow_speed speed;
    quarrow_limits limits;
    const auto without = load("intel-thermal.txt");
    EXPECT_EQ(quarrow_processor_speed(without.get(), 0, &speed, sizeof speed), QUARROW_ERROR_UNKNOWN);
    EXPECT_EQ(quarrow_processor_limits(without.get(), 0, &limits, sizeof limits), QUARROW_ERROR_UNKNOWN);

    os::RecordingError error;
    os::RecordedMachine machine(os::readRecording(machineFile("intel-thermal.txt"), error).value());
    const os::ScopedMachine scope(machine);
    topology::TopologyRequest request;
    request.speeds = request.limits = true;
    const topology::Topology topology = topology::Topology::read(request).value();
    const auto with = load("intel-thermal.txt", QUARROW_WITH_SPEEDS | QUARROW_WITH_LIMITS);
    const topology::Processor& first = topology.processors().front();
    ASSERT_EQ(quarrow_processor_speed(with.get(), first.number, &speed, sizeof speed), QUARROW_OK);
    EXPECT_EQ(speed.tsc_hertz, first.speed->tscHertz.value_or(0));
    EXPECT_EQ(speed.base_hertz, first.speed->base.hertz.value_or(0));
    EXPECT_EQ(speed.turbo_multiplier, first.speed->turbo.multiplier.value_or(0));
    EXPECT_EQ(speed.performance_state_count, first.speed->performanceStates.size());
    ASSERT_EQ(quarrow_processor_limits(with.get(), first.number, &limits, sizeof limits), QUARROW_OK);
    EXPECT_EQ(known(limits.throttle_celsius), first.limits->throttleCelsius);
    EXPECT_EQ(known(limits.throttle_offset_celsius), first.limits->throttleOffsetCelsius);
    ASSERT_EQ(limits.turbo_ratio_count, first.limits->turboRatios.size());
    for (std::size_t i = 0; i < limits.turbo_ratio_count; ++i) {
        std::uint32_t cores = 0;
        std::uint32_t ratio = 0;
        EXPECT_EQ(quarrow_processor_turbo_ratio(with.get(), first.number, i, &cores, &ratio), QUARROW_OK);
        EXPECT_EQ(cores, first.limits->turboRatios[i].activeCores);
        EXPECT_EQ(ratio, first.limits->turboRatios[i].ratio);
    }
    EXPECT_EQ(quarrow_machine_msr_refusal(with.get()) == nullptr, topology.msrRefusal().empty());
}

TEST(CInterface, AsksSomeProcessorsAloneForSpeedsAndMeasuresNone) {
    quarrow_speed speed;
    const Owned<quarrow_set> all(quarrow_set_of_thread());
    const std::uint32_t one = quarrow_set_next(all.get(), 0);
    const auto whose = setOf(std::to_string(one).c_str());
    const Owned<quarrow_machine> live(quarrow_machine_native_of(QUARROW_WITH_SPEEDS | QUARROW_UNMEASURED, whose.get()));
    ASSERT_NE(live, nullptr) << quarrow_error_text();
    for (std::uint32_t n = one; n != QUARROW_NONE; n = quarrow_set_next(all.get(), n + 1)) {
        EXPECT_EQ(quarrow_processor_speed(live.get(), n, &speed, sizeof speed),
                  n == one ? QUARROW_OK : QUARROW_ERROR_UNKNOWN);
        EXPECT_EQ(n == one ? speed.tsc_hertz : 0, 0u);
    }
}

TEST(CInterface, FillsAsMuchOfAStructureAsTheCallerKnows) {
    const auto machine = load("intel-2p-smt.txt");
    struct {
        quarrow_cache cache;
        std::uint64_t added;
    } newer, whole, older;
    std::memset(&older, 0xAA, sizeof older);
    std::memset(&newer, 0xAA, sizeof newer);
    ASSERT_EQ(quarrow_machine_cache(machine.get(), 0, &whole.cache, sizeof whole.cache), QUARROW_OK);
    ASSERT_EQ(quarrow_machine_cache(machine.get(), 0, &newer.cache, sizeof newer), QUARROW_OK);
    EXPECT_EQ(std::memcmp(&newer, &whole, sizeof whole.cache), 0);
    EXPECT_EQ(newer.added, 0u);
    ASSERT_EQ(quarrow_machine_cache(machine.get(), 0, &older.cache, offsetof(quarrow_cache, size)), QUARROW_OK);
    EXPECT_EQ(std::memcmp(&older, &whole, offsetof(quarrow_cache, size)), 0);
    EXPECT_EQ(older.cache.size, 0xAAAAAAAAAAAAAAAAu);
    EXPECT_EQ(quarrow_machine_cache(machine.get(), 0, &older.cache, 0), QUARROW_ERROR_ARGUMENT);
}

TEST(CInterface, DoesSetsAsTheLibraryDoes) {
    const auto a = setOf("0-3,8"), b = setOf("2-5");
    EXPECT_EQ(listed(quarrow_set_union(a.get(), b.get())), "0-5,8");
    EXPECT_EQ(listed(quarrow_set_intersection(a.get(), b.get())), "2-3");
    EXPECT_EQ(listed(quarrow_set_difference(a.get(), b.get())), "0-1,8");
    EXPECT_EQ(listed(quarrow_set_copy(a.get())), "0-3,8");
    EXPECT_EQ(quarrow_set_count(a.get()), 5u);
    EXPECT_TRUE(quarrow_set_contains(a.get(), 8));
    EXPECT_FALSE(quarrow_set_contains(a.get(), 4));
    EXPECT_TRUE(quarrow_set_includes(a.get(), setOf("1-2").get()));
    EXPECT_FALSE(quarrow_set_includes(a.get(), b.get()));
    EXPECT_TRUE(quarrow_set_equal(a.get(), setOf("8,0-3").get()));
    std::string walked;
    for (std::uint32_t n = quarrow_set_next(a.get(), 0); n != QUARROW_NONE; n = quarrow_set_next(a.get(), n + 1)) {
        walked += std::to_string(n) + " ";
    }
    EXPECT_EQ(walked, "0 1 2 3 8 ");
    const Owned<quarrow_set> grown(quarrow_set_new());
    EXPECT_EQ(listed(quarrow_set_copy(grown.get())), "");
    EXPECT_EQ(quarrow_set_add(grown.get(), 3, 5), QUARROW_OK);
    EXPECT_EQ(quarrow_set_add(grown.get(), QUARROW_HIGHEST_NUMBER, QUARROW_HIGHEST_NUMBER), QUARROW_OK);
    EXPECT_EQ(quarrow_set_add(grown.get(), 5, 3), QUARROW_ERROR_ARGUMENT);
    EXPECT_EQ(quarrow_set_add(grown.get(), 0, QUARROW_HIGHEST_NUMBER + 1), QUARROW_ERROR_ARGUMENT);
    EXPECT_EQ(listed(quarrow_set_copy(grown.get())), "3-5,4194303");

    const auto machine = load("two-groups-unknown-maker.txt");
    const auto some = setOf("1,64");
    const Owned<char> affinity(quarrow_set_affinity(machine.get(), some.get()));
    EXPECT_STREQ(affinity.get(), "0:0000000000000002h/1:0000000000000001h");
    EXPECT_EQ(listed(quarrow_set_from_affinity(machine.get(), affinity.get())), "1,64");
}

TEST(CInterface, PinsTheThreadAndPutsItBack) {
    const std::string before = listed(quarrow_set_of_thread());
    const Owned<quarrow_set> all(quarrow_set_of_thread());
    const std::uint32_t first = quarrow_set_next(all.get(), 0);
    const auto one = setOf(std::to_string(first).c_str());
    Owned<quarrow_pin> pin(quarrow_pin_thread(one.get()));
    ASSERT_NE(pin, nullptr) << quarrow_error_text();
    EXPECT_EQ(listed(quarrow_set_of_thread()), std::to_string(first));
    std::thread([&pin] { EXPECT_EQ(quarrow_pin_restore(pin.get()), QUARROW_ERROR_ARGUMENT); }).join();
    EXPECT_EQ(quarrow_pin_restore(pin.release()), QUARROW_OK);
    EXPECT_EQ(listed(quarrow_set_of_thread()), before);

    EXPECT_EQ(quarrow_pin_thread(setOf("0,4000").get()), nullptr);
    EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_INPUT);
    EXPECT_EQ(quarrow_pin_thread(Owned<quarrow_set>(quarrow_set_new()).get()), nullptr);
    EXPECT_EQ(listed(quarrow_set_of_thread()), before);
}

} // namespace
