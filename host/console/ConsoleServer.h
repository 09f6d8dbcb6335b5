// ConsoleServer: the operator console's page, data and commands over HTTP.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/console/ConsoleBackend.h"
#include "host/console/ConsoleHub.h"
#include "host/live/Secret.h"

namespace Host {

// What one server carries at most. The time limits are short against a person's patience and long against a ship's
// network.
struct ConsoleBounds {
    std::size_t maxConnections = 2048;          // fewer where the system gives fewer descriptors
    std::size_t maxPeerConnections = 0;         // of one address; 0: five eighths of all
    std::size_t maxStreams = 64;                // one more is answered with 503
    std::size_t maxSessions = 256;              // the one that was used longest ago makes room
    std::size_t workers = 2;                    // threads that answer requests
    std::chrono::milliseconds head{5000};       // from the first byte, or from the connection, to the end of the head
    std::chrono::milliseconds body{10000};      // from there to the end of the body
    std::chrono::milliseconds idle{15000};      // between two requests
    std::chrono::milliseconds stall{15000};     // an answer or a stream of which nothing is taken
    std::chrono::milliseconds answer{60000};    // until an answer is taken as a whole
    std::chrono::milliseconds heartbeat{5000};  // of a stream that has nothing else to say
    std::chrono::hours streamAge{24};           // then the browser connects, and is let in, anew
    std::chrono::hours session{30 * 24};        // of a login
    std::chrono::milliseconds loginWait{1000};  // after a wrong token, by peer
};

struct ConsoleServerSettings {
    static constexpr int DefaultPort = 8080;
    // Shorter tokens could be guessed; longer ones are nobody's.
    static constexpr std::size_t MinToken = 16;
    static constexpr std::size_t MaxToken = 256;

    std::string address = "127.0.0.1";  // numeric, without brackets; empty is every interface
    int port = DefaultPort;             // 0: one that is free
    // Names and addresses by which the console may be asked for, "bridge.example", "10.0.0.5:8080", "[fd00::5]";
    // without a port at any. Loopback names and the address are always among them.
    std::vector<std::string> hosts;
    Secret viewToken;   // empty: none
    Secret steerToken;  // empty: none
    // Nobody is let in without a token, not even from this machine: for use behind a proxy.
    bool tokenAlways = false;
    std::string version;  // of the program, for the page
    ConsoleBounds bounds;

    // "ADDRESS:PORT", "[ADDRESS]:PORT", "ADDRESS", ":PORT" or "PORT"; "localhost" is 127.0.0.1 and "*" every interface.
    // Empty: as it is by default. False with a reason for a person.
    [[nodiscard]] static bool ParseAddress(const std::string& text, std::string& address, int& port,
                                           std::string& reason);
    [[nodiscard]] bool IsLoopback() const;
    // False with a reason for a person; no token is good.
    [[nodiscard]] static bool CheckToken(const Secret& token, std::string& reason);
    // False with a reason for a person, which begins with the option: for an address beyond this machine without any
    // token, for a token that is too short, too long or not of printing characters, and for a host that is none.
    [[nodiscard]] bool Check(std::string& reason) const;
};

class ConsoleServer {
public:
    struct Figures {
        std::uint64_t accepted = 0;   // connections
        std::uint64_t requests = 0;   // that were whole
        std::uint64_t refused = 0;    // heads and bodies that broke a rule or a bound
        std::uint64_t displaced = 0;  // connections that made room for others, or found none
        std::uint64_t late = 0;       // connections that were given up for their slowness
        std::size_t connections = 0;
        std::size_t streams = 0;
    };

    // The hub and the backend must outlive the server.
    ConsoleServer(ConsoleServerSettings settings, ConsoleHub& hub, ConsoleBackend& backend);
    ConsoleServer(const ConsoleServer&) = delete;
    ConsoleServer& operator=(const ConsoleServer&) = delete;
    ~ConsoleServer();

    // Checks the settings, listens and starts the threads. False with a reason for a person.
    [[nodiscard]] bool Start(std::string& reason);
    // Ends all connections and waits for the threads. Nothing when it does not run.
    void Stop();

    // Where it listens; 0 and empty before.
    [[nodiscard]] int GetPort() const;
    [[nodiscard]] std::string GetUrl() const;  // "http://127.0.0.1:8080/"
    // For a person: the URL, and that it is at every address of the machine where it is.
    [[nodiscard]] std::string GetPlace() const;
    [[nodiscard]] Figures GetFigures() const;

private:
    class Parts;
    [[nodiscard]] bool IsAtEveryAddress() const;

    ConsoleServerSettings settings_;
    ConsoleHub& hub_;
    ConsoleBackend& backend_;
    std::unique_ptr<Parts> parts_;
};

}  // namespace Host
