// SourceTable: the mount points that a caster lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

// Lines "STR;MOUNT;..." up to "ENDSOURCETABLE"; of the others nothing is kept. Takes pieces of any size.
class SourceTable {
public:
    static constexpr std::size_t MaxMounts = 20000;
    static constexpr std::size_t MaxName = 50;

    void Feed(std::string_view bytes);
    [[nodiscard]] bool IsEnded() const { return isEnded_; }
    [[nodiscard]] const std::vector<std::string>& GetMounts() const { return mounts_; }
    [[nodiscard]] bool Has(const std::string& mount) const;
    // The names that are most like one, best first: those that differ in a few characters or begin or end alike, large
    // and small letters being the same. As clean text.
    [[nodiscard]] std::vector<std::string> FindNear(const std::string& mount, std::size_t most) const;

private:
    void TakeLine();

    std::string line_;  // its beginning
    std::vector<std::string> mounts_;
    bool isEnded_ = false;
};

}  // namespace Host
