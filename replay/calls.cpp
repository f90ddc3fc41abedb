#include "replay/calls.h"

#include "recorder/boundary/calls_in.h"

namespace replay {

namespace {

template <typename Call, typename Result, typename... Arguments, size_t... places>
void invoke(Result (*function)(Arguments...), Call& call, std::index_sequence<places...>)
{
    constexpr size_t results = std::is_void_v<Result> ? 0 : 1;
    [[maybe_unused]] const auto fields = fieldsOf<sizeof...(Arguments) + results>(call);
    if constexpr (results == 0)
        function(std::get<places>(fields)...);
    else
        call.result = function(std::get<places>(fields)...);
}

template <typename Call, typename Result, typename... Arguments>
void invoke(Result (*function)(Arguments...), Call& call)
{
    invoke(function, call, std::index_sequence_for<Arguments...>());
}

template <typename Call>
class TypedCallIn : public CallIn {
public:
    const char* symbol() const override { return Call::symbol; }
    void read(Reader& reader) override { call_.asked(reader); }
    void perform(void* function) override
    {
        invoke(reinterpret_cast<typename Call::Function*>(function), call_);
    }
    std::string answer(recorder::Stand& stand) override { return answeredText(call_, stand); }

private:
    Call call_ = {};
};

template <typename... Calls>
struct Makers {
    static std::unique_ptr<CallIn> make(const std::string& name)
    {
        std::unique_ptr<CallIn> made;
        const auto tryOne = [&made, &name](const char* known, auto makeIt) {
            if (name == known)
                made = makeIt();
            return made != nullptr;
        };
        static_cast<void>(
            (tryOne(Calls::name, [] { return std::make_unique<TypedCallIn<Calls>>(); }) || ...));
        return made;
    }
};

}  // namespace

std::unique_ptr<CallIn> makeCallIn(const std::string& name)
{
    return recorder::FunctionsIn<Makers>::make(name);
}

}  // namespace replay
