// HttpFront: the sockets of the console, all in one thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "host/console/ConsoleHub.h"
#include "host/console/ConsoleServer.h"
#include "host/console/HttpConnection.h"
#include "host/console/HttpListener.h"
#include "host/console/HttpWorkers.h"
#include "host/live/Descriptor.h"

namespace Host {

// Collects requests and hands each to the workers once it is whole; writes the answers; carries the hub's events to the
// streams. A peer that is slow, silent or malicious costs a descriptor and a small room until its time is over, and
// never a thread.
//
// When there are as many connections as there may be, of all peers or of one, the half-open or idle one that has been
// so the longest, or that does not take its answer, makes room for the new one.
class HttpFront {
public:
    using Figures = ConsoleServer::Figures;
    using IsWelcome = std::function<bool(const std::string& owner)>;

    // The hub must outlive the front. Throws std::system_error when the system gives no descriptor or thread.
    HttpFront(const ConsoleBounds& bounds, ConsoleHub& hub);
    HttpFront(const HttpFront&) = delete;
    HttpFront& operator=(const HttpFront&) = delete;
    ~HttpFront();

    // Numeric, empty for every interface; port 0: one that is free. False with the system's error number.
    [[nodiscard]] bool Listen(const std::string& address, int port, int& error) {
        return listener_.Listen(address, port, error);
    }
    [[nodiscard]] int GetPort() const { return listener_.GetPort(); }
    // Once, when it listens. A stream begins and goes on only while its owner is welcome, which is asked on the front's
    // thread.
    void Start(const HttpWorkers::MakeHandler& makeHandler, IsWelcome isWelcome);

    // From any thread, when somebody may be welcome no longer.
    void CheckStreams();
    [[nodiscard]] Figures GetFigures() const;

private:
    using Connections = std::unordered_map<std::uint64_t, std::unique_ptr<HttpConnection>>;
    using Phase = HttpConnection::Phase;
    using Outcome = HttpConnection::Outcome;

    void WakeUp() const;
    void Run();
    [[nodiscard]] int GetTimeout(SteadyTime now) const;
    void Serve(std::uint64_t id, std::uint32_t events);
    void ServeConnection(HttpConnection& connection, std::uint32_t events);
    void TakeReplies();
    void EndUnwelcome();

    void AcceptAll();
    void Admit(HttpListener::Accepted accepted);
    bool MakeRoom(const std::string* peer);

    void Advance(HttpConnection& connection);
    void Refuse(HttpConnection& connection, int status);
    void Send(HttpConnection& connection, HttpReply reply);
    void Continue(HttpConnection& connection);
    void BeginStream(HttpConnection& connection, HttpReply reply);
    void PumpStreams();
    void Pump(HttpConnection& connection);
    void Sweep();

    [[nodiscard]] bool Watch(int file, std::uint64_t id) const;
    void Enter(HttpConnection& connection, Phase phase, SteadySpan most) const;
    void Want(HttpConnection& connection, std::uint32_t events);
    void Close(HttpConnection& connection);

    ConsoleBounds bounds_;
    ConsoleHub& hub_;
    Descriptor epoll_;
    Descriptor wake_;
    HttpListener listener_;
    bool listens_ = false;  // and waits for connections
    std::uint64_t lastId_;
    Connections connections_;
    std::unordered_map<std::string, std::size_t> peers_;
    std::vector<std::unique_ptr<HttpConnection>> closed_;  // until the end of a turn of the loop
    std::size_t nmrStreams_ = 0;
    SteadyTime now_;
    SteadyTime sweepDue_;
    SteadyTime pumpDue_;
    SteadyTime acceptDue_;

    std::atomic<bool> ends_ = false;
    std::atomic<bool> mayBeUnwelcome_ = false;
    IsWelcome isWelcome_;

    std::atomic<std::uint64_t> accepted_ = 0;
    std::atomic<std::uint64_t> requests_ = 0;
    std::atomic<std::uint64_t> refused_ = 0;
    std::atomic<std::uint64_t> displaced_ = 0;
    std::atomic<std::uint64_t> late_ = 0;
    std::atomic<std::size_t> nmrConnections_ = 0;
    std::atomic<std::size_t> nmrOpenStreams_ = 0;

    std::unique_ptr<HttpWorkers> workers_;
    std::thread thread_;
};

}  // namespace Host
