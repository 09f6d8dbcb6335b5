// Secret: a password and the places that it may come from.
#pragma once

#include <string>
#include <utility>

namespace Host {

// Is printed nowhere, for it has no way of printing; its bytes are wiped from memory in the end.
class Secret {
public:
    Secret() = default;
    explicit Secret(std::string text) : text_(std::move(text)) {}
    Secret(const Secret&) = default;
    Secret(Secret&& other) noexcept : text_(std::move(other.text_)) { other.Wipe(); }
    Secret& operator=(const Secret& other);
    Secret& operator=(Secret&& other) noexcept;
    ~Secret() { Wipe(); }

    [[nodiscard]] bool IsEmpty() const { return text_.empty(); }
    // For the request that needs it.
    [[nodiscard]] const std::string& Reveal() const { return text_; }

private:
    void Wipe();
    std::string text_;
};

// The variable of the environment for the caster's.
inline constexpr const char* PasswordVariable = "GNSS_NTRIP_PASSWORD";

// Where a password may stand, at first the caster's; what is empty is not there. The first that is there holds.
struct PasswordPlaces {
    std::string file;                                  // whose first line it is
    Secret configured;                                 // in the configuration file
    std::string configFile;                            // which that is
    const char* variable = PasswordVariable;           // between the two; null for none
    const char* what = "password";                     // or "token"
    const char* fileOption = "--ntrip-password-file";  // as the user knows them
    const char* setting = "live.ntrip-password";

    // Which of the two says what it is, where it is not the variable.
    [[nodiscard]] const char* GetPlace() const { return file.empty() ? setting : fileOption; }
};

// An empty password when it stands nowhere. False, with a line for a person that begins with the place, when a file
// cannot be read, or may be read by others than its owner.
[[nodiscard]] bool FindPassword(const PasswordPlaces& places, Secret& password, std::string& reason);

}  // namespace Host
