// ConsoleBackend: what the operator console asks of the run behind it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace Host {

// Who may do what: nothing, look, or look and steer.
enum class ConsoleRight : std::uint8_t { None, View, Steer };

struct ConsoleAnswer {
    int status = 200;
    std::string type = "application/json";
    std::string body;
};

// Is asked by the threads of the console's server, several at a time; what it does must not wait for the run. An
// exception out of it is answered with 500 and without its words.
class ConsoleBackend {
public:
    virtual ~ConsoleBackend() = default;

    // GET /api/<path>: "sky.svg", "store/almanac", "series", "events"; the parameters are decoded, of one that is given
    // twice the first holds. 404 for what it does not know.
    [[nodiscard]] virtual ConsoleAnswer Get(std::string_view path,
                                            const std::map<std::string, std::string>& parameters) = 0;

    // POST /api/<command> of one who may steer. The body is any text of up to 64 KiB that was called JSON. `who` is the
    // peer's numeric address, for the journal. Hands over to the run's thread and returns at once: 202, or 4xx with
    // {"error": "..."}.
    [[nodiscard]] virtual ConsoleAnswer Post(std::string_view command, std::string_view body, std::string_view who) = 0;
};

}  // namespace Host
