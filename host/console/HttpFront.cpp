#include "host/console/HttpFront.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace Host {

namespace {

using namespace std::chrono_literals;

// What the loop waits for besides connections.
constexpr std::uint64_t ListenerId = 0;
constexpr std::uint64_t WakeId = 1;
constexpr std::uint64_t HubId = 2;
constexpr std::uint64_t FirstId = 16;

constexpr int MaxAcceptsAtOnce = 64;
constexpr SteadySpan SweepSpan = 250ms;
// The panels of one epoch come one after another: they travel together.
constexpr SteadySpan PumpDelay = 10ms;
// After an error that waiting may cure.
constexpr SteadySpan AcceptDelay = 100ms;
constexpr SteadySpan DrainSpan = 1s;

[[noreturn]] void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

HttpFront::HttpFront(const ConsoleBounds& bounds, ConsoleHub& hub)
    : bounds_(bounds),
      hub_(hub),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      lastId_(FirstId) {
    if (!epoll_.IsOpen() || !wake_.IsOpen()) Fail("no descriptor for the console");
    bounds_.maxConnections = HttpListener::RaiseLimit(bounds_.maxConnections);
    if (bounds_.maxPeerConnections == 0) bounds_.maxPeerConnections = bounds_.maxConnections / 8 * 5;
    if (!Watch(wake_.Get(), WakeId) || !Watch(hub_.GetWakeFile(), HubId)) Fail("the console cannot wait");
}

HttpFront::~HttpFront() {
    ends_ = true;
    WakeUp();
    if (thread_.joinable()) thread_.join();
    workers_.reset();
}

void HttpFront::Start(const HttpWorkers::MakeHandler& makeHandler, IsWelcome isWelcome) {
    isWelcome_ = std::move(isWelcome);
    workers_ = std::make_unique<HttpWorkers>(bounds_.workers, makeHandler, [this] { WakeUp(); });
    thread_ = MakeQuietThread([this] { Run(); });
}

void HttpFront::CheckStreams() {
    mayBeUnwelcome_ = true;
    WakeUp();
}

HttpFront::Figures HttpFront::GetFigures() const {
    return {accepted_, requests_, refused_, displaced_, late_, nmrConnections_, nmrOpenStreams_};
}

void HttpFront::WakeUp() const {
    // Fails only when it is about to overflow, and then the loop is awake.
    const std::uint64_t one = 1;
    static_cast<void>(!::write(wake_.Get(), &one, sizeof(one)));
}

void HttpFront::Run() {
    now_ = std::chrono::steady_clock::now();
    sweepDue_ = now_ + SweepSpan;
    pumpDue_ = SteadyTime::max();
    acceptDue_ = now_;
    std::array<epoll_event, 128> events{};
    while (!ends_) {
        if (!listens_ && now_ >= acceptDue_) {
            listens_ = Watch(listener_.GetFile(), ListenerId);
            if (!listens_) acceptDue_ = now_ + AcceptDelay;
        }
        const int nmr = ::epoll_wait(epoll_.Get(), events.data(), static_cast<int>(events.size()), GetTimeout(now_));
        now_ = std::chrono::steady_clock::now();
        for (std::size_t i = 0; nmr > 0 && i < static_cast<std::size_t>(nmr); ++i)
            Serve(events[i].data.u64, events[i].events);
        if (now_ >= pumpDue_) PumpStreams();
        if (now_ >= sweepDue_) Sweep();
        closed_.clear();
    }
    connections_.clear();
    nmrConnections_ = 0;
    nmrOpenStreams_ = 0;
}

int HttpFront::GetTimeout(SteadyTime now) const {
    SteadyTime due = pumpDue_;
    if (!connections_.empty()) due = std::min(due, sweepDue_);
    if (!listens_) due = std::min(due, acceptDue_);
    if (due == SteadyTime::max()) return -1;
    return static_cast<int>(std::max<std::int64_t>(0, std::chrono::ceil<std::chrono::milliseconds>(due - now).count()));
}

void HttpFront::Serve(std::uint64_t id, std::uint32_t events) {
    if (id == ListenerId) {
        AcceptAll();
    } else if (id == WakeId) {
        std::uint64_t times = 0;
        static_cast<void>(!::read(wake_.Get(), &times, sizeof(times)));
        EndUnwelcome();
        TakeReplies();
    } else if (id == HubId) {
        hub_.DrainWakeUp();
        pumpDue_ = std::min(pumpDue_, now_ + PumpDelay);
    } else if (const auto found = connections_.find(id); found != connections_.end()) {
        ServeConnection(*found->second, events);
    }
}

void HttpFront::ServeConnection(HttpConnection& connection, std::uint32_t events) {
    // Both directions are closed, or the peer is gone.
    if ((events & (EPOLLHUP | EPOLLERR)) != 0) return Close(connection);
    switch (connection.phase) {
        case Phase::Head:
        case Phase::Body: {
            const bool isFirst = connection.in.empty();
            const Outcome outcome = connection.Receive();
            if (outcome == Outcome::Ended) return Close(connection);
            if (outcome == Outcome::Waits) return;
            if (isFirst && !connection.isFresh && connection.phase == Phase::Head)
                Enter(connection, Phase::Head, bounds_.head);
            return Advance(connection);
        }
        case Phase::Working:
            return;
        case Phase::Writing:
            return Continue(connection);
        case Phase::Streaming:
            // The peer has closed, or speaks where it has nothing to say.
            if ((events & EPOLLIN) != 0 && connection.Discard() != Outcome::Waits) return Close(connection);
            return Pump(connection);
        case Phase::Draining:
            if (connection.Discard() == Outcome::Ended) Close(connection);
            return;
    }
}

void HttpFront::TakeReplies() {
    for (HttpWorkers::Done& done : workers_->TakeDone()) {
        const auto found = connections_.find(done.connection);
        if (found != connections_.end()) Send(*found->second, std::move(done.reply));
    }
}

void HttpFront::AcceptAll() {
    for (int i = 0; i < MaxAcceptsAtOnce; ++i) {
        HttpListener::Accepted accepted;
        switch (listener_.Accept(accepted)) {
            case HttpListener::Outcome::None:
                return;
            case HttpListener::Outcome::Accepted:
                Admit(std::move(accepted));
                break;
            case HttpListener::Outcome::Full:
                // One connection less may do. If there is none to spare the new one goes, and if even that cannot be
                // done the loop looks elsewhere for a while.
                if (MakeRoom(nullptr)) break;
                ++displaced_;
                if (listener_.TurnAway()) break;
                static_cast<void>(::epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, listener_.GetFile(), nullptr));
                listens_ = false;
                acceptDue_ = now_ + AcceptDelay;
                return;
        }
    }
}

void HttpFront::Admit(HttpListener::Accepted accepted) {
    ++accepted_;
    const auto share = peers_.find(accepted.peer);
    const bool isOver = share != peers_.end() && share->second >= bounds_.maxPeerConnections;
    if ((isOver && !MakeRoom(&accepted.peer)) ||
        (connections_.size() >= bounds_.maxConnections && !MakeRoom(nullptr))) {
        ++displaced_;
        return;
    }
    auto made = std::make_unique<HttpConnection>();
    HttpConnection& connection = *made;
    connection.id = lastId_++;
    connection.socket = std::move(accepted.socket);
    connection.peer = std::move(accepted.peer);
    connection.local = std::move(accepted.local);
    if (!Watch(connection.socket.Get(), connection.id)) return;
    connection.interest = EPOLLIN;
    Enter(connection, Phase::Head, bounds_.head);
    connections_.emplace(connection.id, std::move(made));
    ++peers_[connection.peer];
    nmrConnections_ = connections_.size();
}

bool HttpFront::MakeRoom(const std::string* peer) {
    HttpConnection* oldest = nullptr;
    for (const auto& [id, connection] : connections_) {
        if (!connection->CanBeDisplaced(now_) || (peer != nullptr && connection->peer != *peer)) continue;
        if (oldest == nullptr || std::pair(connection->since, id) < std::pair(oldest->since, oldest->id))
            oldest = connection.get();
    }
    if (oldest == nullptr) return false;
    ++displaced_;
    Close(*oldest);
    return true;
}

void HttpFront::Advance(HttpConnection& connection) {
    if (connection.phase == Phase::Head) {
        switch (connection.head.Parse(connection.in)) {
            case HttpHead::State::Partial:
                return Want(connection, EPOLLIN);
            case HttpHead::State::Refused:
                return Refuse(connection, connection.head.GetStatus());
            case HttpHead::State::Whole:
                Enter(connection, Phase::Body, bounds_.body);
                break;
        }
    }
    const std::size_t headSize = connection.head.GetSize();
    const std::size_t bodySize = connection.head.GetBodySize();
    if (connection.in.size() < headSize + bodySize) {
        constexpr std::string_view Continue = "HTTP/1.1 100 Continue\r\n\r\n";
        // Who is not told goes on by itself after a while.
        if (connection.head.WantsContinue() && connection.in.size() == headSize)
            static_cast<void>(
                ::send(connection.socket.Get(), Continue.data(), Continue.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
        return Want(connection, EPOLLIN);
    }
    ++requests_;
    HttpCall call;
    call.body = connection.in.substr(headSize, bodySize);
    connection.in.erase(0, headSize + bodySize);
    call.head = std::exchange(connection.head, {});
    call.peer = connection.peer;
    call.local = connection.local;
    connection.isFresh = false;
    Enter(connection, Phase::Working, 24h);
    // What it sends meanwhile waits in the system.
    Want(connection, 0);
    workers_->Add(connection.id, std::move(call));
}

void HttpFront::Refuse(HttpConnection& connection, int status) {
    ++refused_;
    Send(connection, MakeErrorReply(status));
}

void HttpFront::Send(HttpConnection& connection, HttpReply reply) {
    if (reply.isStream && nmrStreams_ >= bounds_.maxStreams) reply = MakeErrorReply(503);
    // It may have left since it was let in.
    if (reply.isStream && !isWelcome_(reply.owner)) reply = MakeErrorReply(401);
    if (reply.isStream) return BeginStream(connection, std::move(reply));
    connection.out = std::move(reply.bytes);
    connection.written = 0;
    connection.isLast = reply.isLast;
    connection.moved = now_;
    Enter(connection, Phase::Writing, bounds_.answer);
    Continue(connection);
}

void HttpFront::Continue(HttpConnection& connection) {
    const std::uint64_t before = connection.sent;
    const Outcome outcome = connection.Write();
    if (outcome == Outcome::Ended) return Close(connection);
    if (outcome == Outcome::Waits) {
        if (connection.sent != before) connection.moved = now_;
        return Want(connection, EPOLLOUT);
    }
    if (connection.isLast) {
        // Closed at once, with something of the peer's unread, the system would take back what was just sent.
        static_cast<void>(::shutdown(connection.socket.Get(), SHUT_WR));
        connection.in = std::string();
        Enter(connection, Phase::Draining, DrainSpan);
        return Want(connection, EPOLLIN);
    }
    // What has come before its turn is the next request.
    Enter(connection, Phase::Head, connection.in.empty() ? bounds_.idle : bounds_.head);
    if (connection.in.empty()) return Want(connection, EPOLLIN);
    Advance(connection);
}

void HttpFront::Sweep() {
    sweepDue_ = now_ + SweepSpan;
    std::vector<HttpConnection*> late;
    std::vector<HttpConnection*> quiet;
    for (const auto& [id, connection] : connections_) {
        const bool waits =
            (connection->phase == Phase::Writing || connection->phase == Phase::Streaming) && connection->HasUnsent();
        if (now_ >= connection->due || (waits && now_ >= connection->moved + bounds_.stall)) {
            late.push_back(connection.get());
        } else if (connection->phase == Phase::Streaming && !waits && now_ >= connection->moved + bounds_.heartbeat) {
            quiet.push_back(connection.get());
        }
    }
    for (HttpConnection* connection : quiet) {
        connection->out = ": \n\n";
        connection->written = 0;
        Pump(*connection);
    }
    for (HttpConnection* connection : late) {
        const bool isHalf =
            connection->phase == Phase::Body || (connection->phase == Phase::Head && !connection->in.empty());
        if (connection->phase != Phase::Draining && (isHalf || connection->isFresh || connection->HasUnsent())) ++late_;
        // Who has begun to ask is told.
        isHalf ? Refuse(*connection, 408) : Close(*connection);
    }
}

bool HttpFront::Watch(int file, std::uint64_t id) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = id;
    return ::epoll_ctl(epoll_.Get(), EPOLL_CTL_ADD, file, &event) == 0;
}

void HttpFront::Enter(HttpConnection& connection, Phase phase, SteadySpan most) const {
    connection.phase = phase;
    connection.since = now_;
    connection.due = now_ + most;
}

void HttpFront::Want(HttpConnection& connection, std::uint32_t events) {
    if (connection.interest == events) return;
    epoll_event event{};
    event.events = events;
    event.data.u64 = connection.id;
    if (::epoll_ctl(epoll_.Get(), EPOLL_CTL_MOD, connection.socket.Get(), &event) != 0) return Close(connection);
    connection.interest = events;
}

void HttpFront::Close(HttpConnection& connection) {
    const auto found = connections_.find(connection.id);
    if (found == connections_.end()) return;
    if (connection.phase == Phase::Streaming) nmrOpenStreams_ = --nmrStreams_;
    if (connection.phase == Phase::Working) workers_->Forget(connection.id);
    const auto share = peers_.find(connection.peer);
    if (share != peers_.end() && --share->second == 0) peers_.erase(share);
    connection.reader.reset();
    connection.socket.Close();
    // Callers may still look at it.
    closed_.push_back(std::move(found->second));
    connections_.erase(found);
    nmrConnections_ = connections_.size();
}

}  // namespace Host
