// The C interface as a program may misuse it. The first byte chooses one of the project's own machines or, where it is
// 255, takes the other bytes for a recording; these then choose calls and what they are given, be it right or wrong.

#include <libQuarrow/c/quarrow.h>
#include <tests/fuzz/Require.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

// The numbers and texts that the bytes choose; zeros when they are used up.
class Choices {
  public:
    Choices(const std::uint8_t* bytes, std::size_t size) : m_next(bytes), m_end(bytes + size) {}

    bool areLeft() const { return m_next != m_end; }
    std::uint8_t byte() { return areLeft() ? *m_next++ : std::uint8_t{0}; }
    // Small for the most part, so that it is often right.
    std::uint32_t number() {
        const std::uint8_t first = byte();
        const std::uint32_t large[] = {0x7FFFFFFF, QUARROW_NONE, QUARROW_HIGHEST_NUMBER, 0x80000000,
                                       0xFFFFu << byte() % 32};
        return first < 0xF8 ? first : large[first % std::size(large)];
    }
    std::string text() {
        std::string text;
        for (std::size_t left = byte() % 32; left != 0; --left) {
            text += static_cast<char>(byte());
        }
        return text;
    }

  private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

quarrow_machine* machineAt(std::size_t index) {
    // Held to the end and past it, so that none counts as leaked.
    static const std::vector<quarrow_machine*>& all = *[] {
        auto& machines = *new std::vector<quarrow_machine*>{nullptr};
        for (const auto& entry : std::filesystem::directory_iterator(QUARROW_SOURCE_DIR "/tests/machines")) {
            machines.push_back(quarrow_machine_load(
                entry.path().string().c_str(),
                machines.size() % 2 == 0 ? 0 : QUARROW_WITH_SPEEDS | QUARROW_WITH_LIMITS | QUARROW_WITH_LEAVES));
            require(machines.back() != nullptr, "an own machine is taken");
        }
        return &machines;
    }();
    return all[index % all.size()];
}

void useText(char* text) {
    if (text != nullptr) {
        require(std::strlen(text) < std::size_t{1} << 24, "a text ends");
    }
    quarrow_text_free(text);
}

void useText(const char* text) {
    require(text == nullptr || std::strlen(text) < 4096, "a constant text ends");
}

// Every call, given whatever comes.
class Caller {
  public:
    Caller(quarrow_machine* machine, Choices& choices) : m(machine), c(choices) {}
    ~Caller() {
        quarrow_leaves_free(m_leaves);
        for (quarrow_set* set : m_sets) {
            quarrow_set_free(set);
        }
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void call() {
        static const std::vector<std::function<void(Caller&)>> calls = allCalls();
        calls[c.byte() % calls.size()](*this);
        const int code = quarrow_error_code();
        require(code >= QUARROW_OK && code < QUARROW_ERROR_INTERNAL, "a failure has a reason");
        require((code == QUARROW_OK) == (*quarrow_error_text() == '\0'), "a failure has a text");
    }

  private:
    static std::vector<std::function<void(Caller&)>> allCalls();

    const quarrow_set* set() { return m_sets.empty() ? nullptr : m_sets[c.byte() % m_sets.size()]; }
    void keep(quarrow_set* set) {
        if (set == nullptr) {
            return;
        }
        // What a set says of itself agrees.
        const std::size_t count = quarrow_set_count(set);
        std::size_t walked = 0;
        std::uint32_t number = quarrow_set_next(set, 0);
        for (; number != QUARROW_NONE && walked < 1000; number = quarrow_set_next(set, number + 1)) {
            require(quarrow_set_contains(set, number) == 1, "a set contains what it lists");
            ++walked;
        }
        require(number != QUARROW_NONE || walked == count, "a set has as many as it counts");
        if (m_sets.size() < 16) {
            m_sets.push_back(set);
        } else {
            quarrow_set_free(set);
        }
    }
    void keep(quarrow_leaves* leaves) {
        if (leaves != nullptr) {
            quarrow_leaves_free(m_leaves);
            m_leaves = leaves;
        }
    }
    // A structure of the size that the program believes it to have.
    template <class Facts, class Fill>
    void fill(Fill function) {
        std::uint8_t bytes[sizeof(Facts) + 16];
        std::memset(bytes, 0xAA, sizeof bytes);
        const std::size_t size = c.byte() % 4 != 0 ? sizeof(Facts) : c.byte() % sizeof bytes;
        alignas(Facts) std::uint8_t aligned[sizeof bytes];
        std::memcpy(aligned, bytes, sizeof bytes);
        function(c.byte() % 16 != 0 ? reinterpret_cast<Facts*>(aligned) : nullptr, size);
        for (std::size_t i = size; i < sizeof bytes; ++i) {
            require(aligned[i] == 0xAA, "nothing is written behind a structure");
        }
    }

    quarrow_machine* m;
    Choices& c;
    std::vector<quarrow_set*> m_sets;
    quarrow_leaves* m_leaves = nullptr;
};

// Every leaf and field, whose texts end.
void useLeaves(const quarrow_leaves* leaves) {
    for (std::size_t i = 0; i < quarrow_leaves_count(leaves); ++i) {
        quarrow_leaf leaf;
        require(quarrow_leaves_answer(leaves, i, &leaf, sizeof leaf) == QUARROW_OK, "a leaf that is counted");
        require(quarrow_leaves_find(leaves, leaf.leaf, leaf.subleaf) == i, "a leaf is found where it is");
        useText(leaf.title);
        for (std::uint32_t k = 0; k < leaf.field_count; ++k) {
            quarrow_leaf_field field;
            require(quarrow_leaves_field(leaves, i, k, &field, sizeof field) == QUARROW_OK, "a field that is counted");
            for (const char* text : {field.name, field.meaning, field.unit, field.word, field.shown}) {
                useText(text);
            }
        }
    }
}

std::vector<std::function<void(Caller&)>> Caller::allCalls() {
    return {
        [](Caller& t) { require(quarrow_machine_count(t.m, t.c.number()) < 1 << 20, "a count"); },
        [](Caller& t) { quarrow_machine_object_number(t.m, t.c.number(), t.c.number()); },
        [](Caller& t) { require(quarrow_machine_level(t.m) <= 4, "a level"); },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            t.fill<quarrow_processor>([&](auto* p, std::size_t s) { quarrow_machine_processor(t.m, index, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            t.fill<quarrow_cache>([&](auto* p, std::size_t s) { quarrow_machine_cache(t.m, index, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            t.fill<quarrow_tlb>([&](auto* p, std::size_t s) { quarrow_machine_tlb(t.m, index, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            t.fill<quarrow_left_out>([&](auto* p, std::size_t s) { quarrow_machine_left_out(t.m, index, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t number = t.c.number();
            t.fill<quarrow_speed>([&](auto* p, std::size_t s) { quarrow_processor_speed(t.m, number, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t number = t.c.number();
            t.fill<quarrow_limits>([&](auto* p, std::size_t s) { quarrow_processor_limits(t.m, number, p, s); });
        },
        [](Caller& t) { quarrow_processor_performance_state(t.m, t.c.number(), t.c.number(), nullptr, nullptr); },
        [](Caller& t) { quarrow_processor_turbo_ratio(t.m, t.c.number(), t.c.number(), nullptr, nullptr); },
        [](Caller& t) {
            const std::uint32_t number = t.c.number();
            const std::uint32_t which = t.c.number();
            t.fill<quarrow_hypervisor>(
                [&](auto* p, std::size_t s) { quarrow_processor_further_hypervisor(t.m, number, which, p, s); });
        },
        [](Caller& t) { t.keep(quarrow_leaves_of(t.m, t.c.number())); },
        [](Caller& t) { quarrow_leaves_find(t.m_leaves, t.c.number(), t.c.number()); },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            t.fill<quarrow_leaf>([&](auto* p, std::size_t s) { quarrow_leaves_answer(t.m_leaves, index, p, s); });
        },
        [](Caller& t) {
            const std::uint32_t index = t.c.number();
            const std::uint32_t which = t.c.number();
            t.fill<quarrow_leaf_field>(
                [&](auto* p, std::size_t s) { quarrow_leaves_field(t.m_leaves, index, which, p, s); });
        },
        [](Caller& t) { useText(quarrow_register_name(t.c.number())); },
        [](Caller& t) { useText(quarrow_field_kind_name(t.c.number())); },
        [](Caller& t) { quarrow_machine_find(t.m, t.c.number()); },
        [](Caller& t) { quarrow_processor_cache(t.m, t.c.number(), t.c.number(), nullptr, nullptr); },
        [](Caller& t) { useText(quarrow_machine_msr_refusal(t.m)); },
        [](Caller& t) { useText(quarrow_kind_name(t.c.number())); },
        [](Caller& t) { useText(quarrow_cache_type_name(t.c.number())); },
        [](Caller& t) { useText(quarrow_tlb_type_name(t.c.number())); },
        [](Caller& t) { quarrow_processor_has(t.m, t.c.number(), t.c.number()); },
        [](Caller& t) { quarrow_processor_can_use(t.m, t.c.number(), t.c.number()); },
        [](Caller& t) { quarrow_processor_has_named(t.m, t.c.number(), t.c.text().c_str()); },
        [](Caller& t) { useText(quarrow_processor_features(t.m, t.c.number(), t.c.byte())); },
        [](Caller& t) { useText(quarrow_feature_name(t.c.number())); },
        [](Caller& t) { useText(quarrow_feature_at(t.c.number())); },
        [](Caller& t) { useText(quarrow_feature_meaning(t.c.text().c_str())); },
        [](Caller& t) { t.keep(quarrow_set_new()); },
        [](Caller& t) { t.keep(quarrow_set_copy(t.set())); },
        [](Caller& t) { t.keep(quarrow_set_from_list(t.c.text().c_str())); },
        [](Caller& t) { t.keep(quarrow_set_from_affinity(t.m, t.c.text().c_str())); },
        [](Caller& t) { quarrow_set_add(const_cast<quarrow_set*>(t.set()), t.c.number(), t.c.number()); },
        [](Caller& t) { t.keep(quarrow_set_union(t.set(), t.set())); },
        [](Caller& t) { t.keep(quarrow_set_intersection(t.set(), t.set())); },
        [](Caller& t) { t.keep(quarrow_set_difference(t.set(), t.set())); },
        [](Caller& t) { quarrow_set_includes(t.set(), t.set()); },
        [](Caller& t) { quarrow_set_equal(t.set(), t.set()); },
        [](Caller& t) { quarrow_set_contains(t.set(), t.c.number()); },
        [](Caller& t) { useText(quarrow_set_list(t.set())); },
        [](Caller& t) { useText(quarrow_set_count(t.set()) < 4096 ? quarrow_set_affinity(t.m, t.set()) : nullptr); },
        [](Caller& t) { t.keep(quarrow_set_of_machine(t.m)); },
        [](Caller& t) { t.keep(quarrow_set_of_object(t.m, t.c.number(), t.c.number())); },
        [](Caller& t) { t.keep(quarrow_set_of_cache(t.m, t.c.number(), t.c.number())); },
        [](Caller& t) { t.keep(quarrow_set_of_kind(t.m, t.c.number())); },
        [](Caller& t) { t.keep(quarrow_set_of_numa_node(t.m, t.c.number())); },
        [](Caller& t) { t.keep(quarrow_set_sharing_cache(t.m, t.c.number(), t.c.number())); },
        [](Caller& t) { t.keep(quarrow_set_one_per_core(t.m, t.set())); },
        [](Caller& t) {
            if (quarrow_pin* pin = quarrow_pin_thread(t.set())) {
                require(quarrow_pin_restore(pin) == QUARROW_OK, "what was pinned is put back");
            }
        },
        [](Caller&) { quarrow_error_clear(); },
    };
}

void useRecording(const std::uint8_t* bytes, std::size_t size) {
    quarrow_machine* machine = quarrow_machine_parse(bytes, size, "fuzzed", QUARROW_WITH_LIMITS | QUARROW_WITH_LEAVES);
    if (machine == nullptr) {
        require(std::strncmp(quarrow_error_text(), "fuzzed", 6) == 0 || quarrow_error_code() == QUARROW_ERROR_MACHINE,
                "a recording that is none is named");
        return;
    }
    useText(quarrow_machine_json(machine));
    quarrow_processor processor;
    require(quarrow_machine_processor(machine, 0, &processor, sizeof processor) == QUARROW_OK, "a first processor");
    for (std::uint32_t which = 0; which < processor.further_hypervisor_count; ++which) {
        quarrow_hypervisor further;
        require(quarrow_processor_further_hypervisor(machine, processor.number, which, &further, sizeof further) ==
                    QUARROW_OK,
                "a hypervisor that is counted");
        useText(further.signature);
    }
    quarrow_leaves* leaves = quarrow_leaves_of(machine, processor.number);
    require(leaves != nullptr, "leaves that were asked for");
    useLeaves(leaves);
    quarrow_leaves_free(leaves);
    char* recorded = quarrow_machine_record(machine);
    require(recorded != nullptr, "what was read can be written");
    quarrow_text_free(recorded);
    quarrow_machine_free(machine);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    quarrow_error_clear();
    if (bytes[0] == 0xFF) {
        useRecording(bytes + 1, size - 1);
        return 0;
    }
    Choices choices(bytes + 1, size - 1);
    Caller caller(machineAt(bytes[0]), choices);
    constexpr int most = 256; // more of them are slower, and find no more
    for (int calls = 0; calls < most && choices.areLeft(); ++calls) {
        caller.call();
    }
    return 0;
}
