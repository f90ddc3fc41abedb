/// The library that is replayed, opened while the program runs.
#ifndef VESTA_REPLAY_LIBRARY_H
#define VESTA_REPLAY_LIBRARY_H

#include <optional>
#include <string>

namespace replay {

class Library {
public:
    /// @param path empty for the one beside the program, or else where the system finds it
    /// @param kitPath likewise; the kit is opened when it is asked for
    /// @param problem receives what is wrong, for people
    static std::optional<Library> open(const std::string& path, const std::string& kitPath,
                                       std::string& problem);

    /// @return null where there is no such function or variable
    void* find(const char* symbol) const;

    /// Of the kit. @return null likewise, and where there is no kit
    void* findInKit(const char* symbol, std::string& problem);

private:
    Library(void* handle, std::string kitPath) : handle_(handle), kitPath_(std::move(kitPath)) {}

    void* handle_;  ///< never closed: the library has not said that it can be
    void* kit_ = nullptr;
    std::string kitPath_;
};

}  // namespace replay

#endif
