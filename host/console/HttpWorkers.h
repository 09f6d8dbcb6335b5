// HttpWorkers: the threads that answer requests.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/console/HttpCall.h"

namespace Host {

class HttpWorkers {
public:
    struct Done {
        std::uint64_t connection = 0;
        HttpReply reply;
    };
    using MakeHandler = std::function<std::unique_ptr<HttpHandler>()>;

    // `onDone` is called by the threads, each time that there is something to take.
    HttpWorkers(std::size_t nmrThreads, const MakeHandler& makeHandler, std::function<void()> onDone);
    HttpWorkers(const HttpWorkers&) = delete;
    HttpWorkers& operator=(const HttpWorkers&) = delete;
    // Waits for the requests in work; those that wait are forgotten.
    ~HttpWorkers();

    // What waits is bounded by who calls: each connection has one request at a time.
    void Add(std::uint64_t connection, HttpCall call);
    // A request that waits still is not answered: nobody is there to hear it.
    void Forget(std::uint64_t connection);
    [[nodiscard]] std::vector<Done> TakeDone();

private:
    struct Job {
        std::uint64_t connection = 0;
        HttpCall call;
    };
    void Work(HttpHandler& handler);

    std::function<void()> onDone_;
    std::vector<std::unique_ptr<HttpHandler>> handlers_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Job> jobs_;
    std::vector<Done> done_;
    bool ends_ = false;
    std::vector<std::thread> threads_;
};

// A thread that leaves the signals of the program to the other threads. Throws std::system_error when there is none.
[[nodiscard]] std::thread MakeQuietThread(std::function<void()> function);

}  // namespace Host
