// SourceAddress: where the bytes of a live source come from, as a person writes it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Host {

//   serial:///dev/ttyUSB0?baud=115200&parity=even&stop=2      8 data bits; also the bare path of a character device
//   tcp://HOST:PORT                                           connects
//   tcp-listen://[ADDRESS:]PORT  udp://[ADDRESS:]PORT         is connected to, is sent to; on the loopback interface
//                                                             unless told otherwise ("*" is every interface)
//   ntrip://[USER@]HOST[:PORT]/MOUNT?gga=10                   an NTRIP caster of version 2 or 1; ntrip1:// asks in the
//                                                             form of version 1 only
// IPv6 addresses stand in brackets. Every form takes silence=SECONDS, after which it counts as dropped (0: never).
// Characters that have a meaning here are written %40 in names. There is no place for a password: the system shows
// the arguments of a program to everyone.
struct SourceAddress {
    enum class Kind : std::uint8_t { Serial, Tcp, TcpListen, Udp, Ntrip };
    enum class Parity : std::uint8_t { None, Even, Odd };
    static constexpr int NtripPort = 2101;
    static constexpr int MaxSeconds = 86400;

    Kind kind = Kind::Tcp;
    std::string path;  // of the serial port
    int baud = 115200;
    Parity parity = Parity::None;
    int stopBits = 1;

    std::string host;  // without brackets; where it listens a numeric address, empty for every interface
    int port = 0;

    std::string user;                             // may be empty
    std::string mount;                            // without the slash
    int version = 2;                              // of NTRIP
    std::optional<std::chrono::seconds> gga;      // how often a position is sent to the caster; nothing: never
    std::optional<std::chrono::seconds> silence;  // nothing: what holds for all sources

    // Whether a text means a live source, and not a file: it begins with a scheme, be it none of these, or is the path
    // of a character device that is a terminal.
    [[nodiscard]] static bool IsLive(const std::string& text);
    // False with the reason for a person, in which nothing of the text is repeated that could be a password.
    [[nodiscard]] static bool Parse(const std::string& text, SourceAddress& address, std::string& reason);

    // In full; Parse reads it back to the same.
    [[nodiscard]] std::string Print() const;
    // Without user and settings, for displays, logs and reports.
    [[nodiscard]] std::string GetName() const;

    bool operator==(const SourceAddress&) const = default;
};

// A text that may be an address with a password in it, with the password replaced by three asterisks.
[[nodiscard]] std::string MaskPassword(std::string_view text);
// The same of every address in a text for people, where it ends at a blank or a quote.
[[nodiscard]] std::string MaskPasswords(std::string_view text);
// What is wrong with an input of a run that can be seen without opening it: a live one whose address is none, or one
// that is neither an address nor a file, but has a password in it. As clean text without the password; empty for all
// others.
[[nodiscard]] std::string FindFaultOf(const std::string& input);

// A name or a numeric address as it stands before a port: with brackets where it has colons.
[[nodiscard]] std::string BracketHost(const std::string& host);
// Letters, digits and -._~ as they are, all else as %XX.
[[nodiscard]] std::string PercentEncode(std::string_view text);
// The same, but that slashes stay.
[[nodiscard]] std::string EncodePath(std::string_view text);

}  // namespace Host
