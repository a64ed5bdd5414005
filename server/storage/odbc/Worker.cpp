#include "server/storage/odbc/Worker.h"

#include <utility>

namespace storage::odbc {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks(20);

} // namespace

Worker::Worker(std::function<void()> whileWaiting)
    : whileWaiting_(std::move(whileWaiting))
    , thread_([this] { Loop(); })
{
}

Worker::~Worker()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Worker::Execute(const Task& task)
{
    // Much work in short pieces leaves no time to look while one is waited for.
    const auto now = std::chrono::steady_clock::now();
    if (now - lastLook_ >= kBetweenLooks) {
        lastLook_ = now;
        whileWaiting_();
    }
    std::unique_lock lock(mutex_);
    task_ = &task;
    changed_.notify_all();
    while (!changed_.wait_for(lock, kBetweenLooks, [this] { return task_ == nullptr; })) {
        lock.unlock();
        whileWaiting_();
        lock.lock();
    }
    if (error_)
        std::rethrow_exception(std::exchange(error_, nullptr));
}

void Worker::Loop()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return ended_ || task_ != nullptr; });
        if (task_ == nullptr)
            return;
        lock.unlock();
        std::exception_ptr error;
        try {
            (*task_)();
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        error_ = std::move(error);
        task_ = nullptr;
        changed_.notify_all();
    }
}

} // namespace storage::odbc
