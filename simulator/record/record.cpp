// librecord.so: loaded before the firmware's libraries (LD_PRELOAD), forwards every call to them and writes the record
// of calls that the stand-ins write too. docs/replay.md says how it is used. It is made for a board in production:
// whatever happens to the record, each call does what it does without it.

#include "simulator/record/callRecorder.h"
#include "simulator/record/libraryCalls.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <tuple>
#include <type_traits>

namespace sim {
namespace {

constexpr char DEFAULT_FILE[] = "/tmp/calls.jsonl";
constexpr uint64_t DEFAULT_LIMIT = 8 << 20; // bytes, and as many in the file before: memory, where /tmp is
constexpr size_t MOST_VALUES = 80;          // arguments, texts of a list among them

constinit CallRecorder g_recorder;
constinit Recording g_recording = Recording::none;

enum class Function : uint8_t {
#define LIBRARY_CALL_AS(signature, name, ...) name,
#include "simulator/record/libraryCalls.inc"
#undef LIBRARY_CALL_AS
    Count
};
constexpr const char* NAMES[] = {
#define LIBRARY_CALL_AS(signature, name, ...) #name,
#include "simulator/record/libraryCalls.inc"
#undef LIBRARY_CALL_AS
};
void* g_next[size_t(Function::Count)]; // NULL: no library has it

// A signal handler that calls a library first must not find the dynamic linker at work.
[[gnu::constructor]] void prepare() {
    for (size_t i = 0; i < size_t(Function::Count); ++i) g_next[i] = dlsym(RTLD_NEXT, NAMES[i]);
    const char* file = getenv("BMC_CALLS");
    const char* limit = getenv("BMC_CALLS_LIMIT");
    const uint64_t bytes = limit != nullptr ? byteCount(limit) : 0;
    g_recording = recordingWord(getenv("BMC_TRACE"), Recording::changes);
    g_recorder.begin(file != nullptr ? file : DEFAULT_FILE, bytes != 0 ? bytes : DEFAULT_LIMIT);
}

// The functions of another library's constructor may be called before this one's has run.
void* nextOf(Function function) {
    void*& next = g_next[size_t(function)];
    if (next == nullptr) next = dlsym(RTLD_NEXT, NAMES[size_t(function)]);
    return next;
}

struct Collected {
    CallValue values[MOST_VALUES];
    size_t count = 0;
    CallOutput output;
    uint32_t room = 0; // of a buffer whose size is given by a pointer

    void add(const CallValue& value) {
        if (count < MOST_VALUES) values[count++] = value;
    }
    // A second piece lies behind the first.
    void handOut(const void* data, size_t size) {
        if (data == nullptr) return;
        if (output.data == nullptr) {
            output.data = const_cast<void*>(data);
            output.size = size;
        } else {
            output.more = data;
            output.moreSize = size;
        }
    }
};

template <size_t I, class Arguments>
size_t sizeAt(const Arguments& arguments) {
    const auto size = std::get<I>(arguments);
    return size > 0 ? size_t(size) : 0;
}

// What is told of an argument before the call.
template <size_t I, class Arguments, class Role>
void take(Role /*an output*/, const Arguments& /*arguments*/, Collected& /*call*/) {}

template <size_t I, class Arguments>
void take(role::In /*role*/, const Arguments& arguments, Collected& call) {
    const auto argument = std::get<I>(arguments);
    using Type = std::remove_pointer_t<decltype(argument)>;
    if constexpr (std::is_class_v<std::remove_pointer_t<std::remove_const_t<decltype(argument)>>>)
        call.add({argument, sizeof *argument});
    else
        call.add(argument);
    static_assert(!std::is_void_v<Type>);
}
template <size_t I, class Arguments, size_t SIZE>
void take(role::Block<SIZE> /*role*/, const Arguments& arguments, Collected& call) {
    call.add({std::get<I>(arguments), SIZE});
}
template <size_t I, class Arguments, size_t ARGUMENT>
void take(role::BlockOf<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    call.add({std::get<I>(arguments), sizeAt<ARGUMENT>(arguments)});
}
template <size_t I, class Arguments, size_t ARGUMENT>
void take(role::Texts<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    const char* const* texts = std::get<I>(arguments);
    for (size_t i = 0; texts != nullptr && i < sizeAt<ARGUMENT>(arguments) && call.count < MOST_VALUES; ++i)
        call.add(texts[i]);
}
template <size_t I, class Arguments>
void take(role::Room /*role*/, const Arguments& arguments, Collected& call) {
    const uint32_t* room = std::get<I>(arguments);
    call.room = room != nullptr ? *room : 0;
    call.add(call.room);
}

// What is told of it after a call that succeeded.
template <size_t I, class Arguments, class Role>
void give(Role /*no output*/, const Arguments& /*arguments*/, Collected& /*call*/) {}

template <size_t I, class Arguments>
void give(role::Out /*role*/, const Arguments& arguments, Collected& call) {
    call.handOut(std::get<I>(arguments), sizeof *std::get<I>(arguments));
}
template <size_t I, class Arguments, size_t SIZE>
void give(role::OutBytes<SIZE> /*role*/, const Arguments& arguments, Collected& call) {
    call.handOut(std::get<I>(arguments), SIZE);
}
template <size_t I, class Arguments, size_t ARGUMENT>
void give(role::OutOf<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    call.handOut(std::get<I>(arguments), sizeAt<ARGUMENT>(arguments));
}
template <size_t I, class Arguments, size_t ARGUMENT>
void give(role::OutUpTo<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    const uint32_t* length = std::get<ARGUMENT>(arguments);
    if (length != nullptr) call.handOut(std::get<I>(arguments), *length < call.room ? *length : call.room);
}
template <size_t I, class Arguments, size_t ARGUMENT>
void give(role::OutText<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    const char* text = std::get<I>(arguments);
    const size_t room = sizeAt<ARGUMENT>(arguments);
    if (text != nullptr && room > 0) call.handOut(text, strnlen(text, room));
}
template <size_t I, class Arguments, size_t ARGUMENT>
void give(role::OutTextAnd1<ARGUMENT> /*role*/, const Arguments& arguments, Collected& call) {
    const char* text = std::get<I>(arguments);
    if (text != nullptr) call.handOut(text, strnlen(text, sizeAt<ARGUMENT>(arguments)));
}
template <size_t I, class Arguments>
void give(role::OutBlock /*role*/, const Arguments& arguments, Collected& call) {
    if (std::get<I>(arguments) != nullptr) call.handOut(*std::get<I>(arguments), sizeof **std::get<I>(arguments));
}
template <size_t I, class Arguments>
void give(role::OutData /*role*/, const Arguments& arguments, Collected& call) {
    if (call.output.data == nullptr || std::get<I>(arguments) == nullptr) return;
    uint32_t length = 0;
    memcpy(&length, static_cast<const char*>(call.output.data) + DQMI_LENGTH_OFFSET, sizeof length);
    call.handOut(*std::get<I>(arguments), length < LONGEST_RECORDED_VALUE ? length : LONGEST_RECORDED_VALUE);
}

template <CallResult RESULT, class Result>
constexpr Result failure() {
    if constexpr (RESULT == CallResult::status)
        return 1;
    else if constexpr (RESULT == CallResult::handle)
        return -1;
    else
        return Result{};
}

template <CallResult RESULT, class Result>
bool succeeded([[maybe_unused]] Result result) {
    if constexpr (RESULT == CallResult::status) return result == 0;
    if constexpr (RESULT == CallResult::done) return result != 0;
    if constexpr (RESULT == CallResult::handle) return result >= 0;
    return false;
}

template <CallResult RESULT, class Result, class Arguments>
void takeResult(Result result, [[maybe_unused]] const Arguments& arguments, CallValue& value, CallOutput& output) {
    if constexpr (RESULT == CallResult::session) {
        value = result != nullptr ? 1 : 0;
    } else if constexpr (RESULT == CallResult::table) {
        const uint32_t* count = std::get<std::tuple_size_v<Arguments> - 1>(arguments);
        output.values = result;
        output.valueCount = result != nullptr && count != nullptr ? *count : 0;
        value = result != nullptr ? int(output.valueCount) : -1;
    } else {
        value = result;
    }
}

// One for each function of the table.
template <Function FUNCTION, CallKind KIND, CallResult RESULT, class... Roles>
struct Wrapper {
    static constexpr Share SHARE = KIND == CallKind::acts     ? Share::always
                                   : KIND == CallKind::begins ? Share::eachTime
                                                              : Share::whenChanged;

    template <class Result, class... Types>
    static Result call(Result (*)(Types...), Types... values) {
        const std::tuple<Types...> arguments(values...);
        return callWith<Result>(reinterpret_cast<Result (*)(Types...)>(nextOf(FUNCTION)), arguments,
                                std::index_sequence_for<Types...>());
    }

  private:
    template <class Result, class... Types, size_t... I>
    static Result callWith(Result (*next)(Types...), const std::tuple<Types...>& arguments,
                           std::index_sequence<I...> /*positions*/) {
        static_assert(sizeof...(Types) == sizeof...(Roles), "a role for each argument");
        Collected call;
        (take<I>(Roles(), arguments, call), ...);
        if constexpr (std::is_void_v<Result>) {
            if (next != nullptr) next(std::get<I>(arguments)...);
            if (next != nullptr) (give<I>(Roles(), arguments, call), ...);
            record(call, 0);
        } else {
            const Result result = next != nullptr ? next(std::get<I>(arguments)...) : failure<RESULT, Result>();
            if (succeeded<RESULT>(result)) (give<I>(Roles(), arguments, call), ...);
            CallValue value;
            takeResult<RESULT>(result, arguments, value, call.output);
            record(call, value);
            return result;
        }
    }

    static void record(const Collected& call, const CallValue& result) {
        if (g_recording == Recording::none && SHARE != Share::always) return;
        g_recorder.record(
            {int64_t{time(nullptr)}, NAMES[size_t(FUNCTION)], call.values, call.count, result, call.output},
            g_recording, SHARE);
    }
};

template <class Function>
struct Signature;
template <class Result_, class... Types>
struct Signature<Result_(Types...)> {
    using Result = Result_;
    template <size_t I>
    using Type = std::tuple_element_t<I, std::tuple<Types...>>;
};

} // namespace
} // namespace sim

// The functions themselves, each with as many parameters as it has roles.
#define PICK_9TH(a, b, c, d, e, f, g, h, i, ...) i
#define COUNT_OF(...) PICK_9TH(__VA_ARGS__ __VA_OPT__(, ) 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define JOIN_(a, b) a##b
#define JOIN(a, b) JOIN_(a, b)
#define PARAMETER(signature, i) sim::Signature<signature>::Type<i> a##i
#define PARAMETERS_0(s)
#define PARAMETERS_1(s) PARAMETER(s, 0)
#define PARAMETERS_2(s) PARAMETERS_1(s), PARAMETER(s, 1)
#define PARAMETERS_3(s) PARAMETERS_2(s), PARAMETER(s, 2)
#define PARAMETERS_4(s) PARAMETERS_3(s), PARAMETER(s, 3)
#define PARAMETERS_5(s) PARAMETERS_4(s), PARAMETER(s, 4)
#define PARAMETERS_6(s) PARAMETERS_5(s), PARAMETER(s, 5)
#define PARAMETERS_7(s) PARAMETERS_6(s), PARAMETER(s, 6)
#define PARAMETERS_8(s) PARAMETERS_7(s), PARAMETER(s, 7)
#define ARGUMENTS_0
#define ARGUMENTS_1 , a0
#define ARGUMENTS_2 ARGUMENTS_1, a1
#define ARGUMENTS_3 ARGUMENTS_2, a2
#define ARGUMENTS_4 ARGUMENTS_3, a3
#define ARGUMENTS_5 ARGUMENTS_4, a4
#define ARGUMENTS_6 ARGUMENTS_5, a5
#define ARGUMENTS_7 ARGUMENTS_6, a6
#define ARGUMENTS_8 ARGUMENTS_7, a7

// It has the function's name for the linker alone: as its declaration stands in the header, it would be one of two.
#define LIBRARY_CALL_AS(signature, name, kind, result, identifiers, ...)                                               \
    extern "C" [[gnu::visibility("default")]] sim::Signature<signature>::Result recorded_##name(                       \
        JOIN(PARAMETERS_, COUNT_OF(__VA_ARGS__))(signature)) __asm__(#name);                                           \
    sim::Signature<signature>::Result recorded_##name(JOIN(PARAMETERS_, COUNT_OF(__VA_ARGS__))(signature)) {           \
        using namespace sim::role;                                                                                     \
        using Call = sim::Wrapper<sim::Function::name, sim::CallKind::kind,                                            \
                                  sim::CallResult::result __VA_OPT__(, ) __VA_ARGS__>;                                 \
        return Call::call(static_cast<std::add_pointer_t<signature>>(nullptr)                                          \
                              JOIN(ARGUMENTS_, COUNT_OF(__VA_ARGS__)));                                                \
    }
#include "simulator/record/libraryCalls.inc"
