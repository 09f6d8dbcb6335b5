#include "host/console/HttpWorkers.h"

#include <csignal>
#include <utility>

namespace Host {

std::thread MakeQuietThread(std::function<void()> function) {
    sigset_t all{};
    sigset_t before{};
    ::sigfillset(&all);
    // A thread is born with the mask of its maker.
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread thread(std::move(function));
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return thread;
    } catch (...) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
}

HttpWorkers::HttpWorkers(std::size_t nmrThreads, const MakeHandler& makeHandler, std::function<void()> onDone)
    : onDone_(std::move(onDone)) {
    for (std::size_t i = 0; i < nmrThreads; ++i) handlers_.push_back(makeHandler());
    threads_.reserve(nmrThreads);
    for (const auto& handler : handlers_)
        threads_.push_back(MakeQuietThread([this, at = handler.get()] { Work(*at); }));
}

HttpWorkers::~HttpWorkers() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void HttpWorkers::Add(std::uint64_t connection, HttpCall call) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back({connection, std::move(call)});
    }
    wake_.notify_one();
}

void HttpWorkers::Forget(std::uint64_t connection) {
    const std::lock_guard lock(mutex_);
    std::erase_if(jobs_, [&](const Job& job) { return job.connection == connection; });
}

std::vector<HttpWorkers::Done> HttpWorkers::TakeDone() {
    const std::lock_guard lock(mutex_);
    return std::exchange(done_, {});
}

void HttpWorkers::Work(HttpHandler& handler) {
    while (true) {
        Job job;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return ends_ || !jobs_.empty(); });
            if (ends_) return;
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        HttpReply reply = handler.Answer(job.call);
        {
            const std::lock_guard lock(mutex_);
            done_.push_back({job.connection, std::move(reply)});
        }
        onDone_();
    }
}

}  // namespace Host
