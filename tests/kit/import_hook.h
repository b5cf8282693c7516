#pragma once

#include <windows.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kit {

/** Hooks go into this module unless they name another; kit::Library sets it. */
void SetHookedModule(HMODULE module);
HMODULE HookedModule();

/** One import of a module, led elsewhere while this lives. Throws if the module does not import that name. */
class ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, void* replacement);
    ~ImportPatch();
    ImportPatch(ImportPatch&&) = delete;

    void* Original() const { return original_; }

private:
    std::vector<void**> slots_;
    void* replacement_;
    void* original_ = nullptr;
};

/** @return whether the module imports a function of that name. */
bool Imports(HMODULE module, const char* function);
/** @return the names a module exports, in order; one without a name is "#ordinal". */
std::vector<std::string> ExportedNames(HMODULE module);
/** @return the libraries a module imports from, in capitals. */
std::vector<std::string> ImportedLibraries(HMODULE module);

/**
 * The thunks that stand in for a function of one type: the hooks of a type
 * share a fixed set of them, each led to the hook that holds it.
 */
template <class Function> struct HookThunks;

template <class Result, class... Arguments> struct HookThunks<Result(WINAPI*)(Arguments...)> {
    using Action = std::function<Result(Arguments...)>;
    static constexpr int kCount = 8;
    static inline Action* holders[kCount] = {};

    static int Take(Action* action)
    {
        Action** const place = std::ranges::find(holders, nullptr);
        if (place == std::end(holders))
            throw std::runtime_error("more than 8 hooks of functions of one type");
        *place = action;
        return static_cast<int>(place - holders);
    }

    template <int Index> static Result WINAPI Enter(Arguments... arguments) { return (*holders[Index])(arguments...); }
};

/**
 * Stands in for one function that TARVO.DLL imports, while it lives: counts
 * the calls and, if told to, lets some fail or answers in its place. It may
 * outlive the DLL.
 *
 *     kit::ImportHook copy("CopyFileA", &CopyFileA);
 *     copy.FailNth(1, ERROR_SHARING_VIOLATION, FALSE);
 *     EXPECT_EQ(...);
 *     EXPECT_EQ(2, copy.Calls());
 *
 * What the DLL finds with GetProcAddress is reached by answering that call.
 */
template <class Function> class ImportHook {
    using Thunks = HookThunks<Function>;
    using Action = typename Thunks::Action;

public:
    /** @param like  The function itself: gives the type. It is not called. */
    ImportHook(const char* name, [[maybe_unused]] Function like, HMODULE module = HookedModule())
        : thunk_(Thunks::Take(&entry_)), patch_(std::make_unique<ImportPatch>(module, name, Thunk(thunk_)))
    {
        PassThrough();
    }

    /** One that fails from the beginning, as by FailAll. */
    template <class Result> ImportHook(const char* name, Function like, DWORD lastError, Result result)
        : ImportHook(name, like)
    {
        FailAll(lastError, result);
    }

    ~ImportHook()
    {
        patch_.reset(); // before the thunk is given away
        Thunks::holders[thunk_] = nullptr;
    }

    Function Original() const { return reinterpret_cast<Function>(patch_->Original()); }
    /** @return how often the DLL has called it since the hook was made. */
    int Calls() const { return calls_; }

    /** Hands every call on, as at first. */
    void PassThrough()
    {
        Answer([this](auto... arguments) { return Original()(arguments...); });
    }

    /** The action takes the function's arguments and gives the result; it may call Original(). */
    template <class Callable> void Answer(Callable action)
    {
        entry_ = [this, action = std::move(action)](auto... arguments) {
            ++calls_;
            return action(arguments...);
        };
    }

    /** Lets the n-th call from now (1 is the next) set the last error and return result; the others go through. */
    template <class Result> void FailNth(int n, DWORD lastError, Result result)
    {
        Answer([this, at = calls_ + n, lastError, result](auto... arguments) {
            return calls_ == at ? Fail(lastError, result, arguments...) : Original()(arguments...);
        });
    }

    /** Lets every call from now on set the last error and return result. */
    template <class Result> void FailAll(DWORD lastError, Result result)
    {
        Answer([lastError, result](auto... arguments) { return Fail(lastError, result, arguments...); });
    }

private:
    template <class Result, class... Arguments> static auto Fail(DWORD lastError, Result result, Arguments... arguments)
    {
        using Returned = decltype(std::declval<Function>()(arguments...));
        SetLastError(lastError);
        return static_cast<Returned>(result);
    }

    static void* Thunk(int index)
    {
        return [index]<int... Index>(std::integer_sequence<int, Index...>)
        {
            void* const entries[] = {reinterpret_cast<void*>(&Thunks::template Enter<Index>)...};
            return entries[index];
        }
        (std::make_integer_sequence<int, Thunks::kCount>());
    }

    Action entry_;
    int calls_ = 0;
    int thunk_;
    std::unique_ptr<ImportPatch> patch_;
};

} // namespace kit
