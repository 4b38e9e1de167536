// The shared thread pool: persistent workers that run the shares of one task at a time.
// The calling thread takes part, so a pool of n threads keeps n - 1 workers.
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "host/object.h"
#include "host/registry.h"
#include "host/zthost.h"

namespace zthost {
namespace {

uint32_t HardwareThreads() {
    unsigned n = std::thread::hardware_concurrency();
    return n ? n : 1;
}

// Keeps the first failure; shares without work (S_FALSE) are no failure.
void Merge(HRESULT& aResult, HRESULT aShare) {
    if (SUCCEEDED(aResult) && FAILED(aShare)) aResult = aShare;
}

HRESULT RunShare(IThreadedTask* aTask, uint32_t aIndex, uint32_t aTotal) {
    try {
        return aTask->Execute(aIndex, aTotal);
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// Share p, p + n, p + 2n, ... for participant p of n.
HRESULT RunShares(IThreadedTask* aTask, uint32_t aTotal, uint32_t aParticipant, uint32_t aParticipants) {
    HRESULT result = S_OK;
    for (uint64_t i = aParticipant; i < aTotal; i += aParticipants)
        Merge(result, RunShare(aTask, static_cast<uint32_t>(i), aTotal));
    return result;
}

// True on the pool's workers, and on a thread while it runs shares in Execute.
thread_local bool tInPool = false;

// Waits a little while, without sleeping, for aDone to come true. Operations such as the
// blur run hundreds of short tasks in a row; waking a sleeping thread for each costs more
// than the task itself.
template <class Done>
bool SpinFor(const Done& aDone) {
    for (int i = 0; i < 4000; ++i) {
        if (aDone()) return true;
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
    }
    return aDone();
}

class ThreadPool : public IThreadPool {
public:
    ~ThreadPool() { StopWorkers(); }

    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IThreadPool>(this, aIID); }

    void SetSize(uint32_t aThreads) { size_ = aThreads ? aThreads : HardwareThreads(); }
    uint32_t Size() const { return size_; }

    HRESULT ThreadCount(uint32_t* aThreads) override {
        if (!aThreads) return E_POINTER;
        *aThreads = size_;
        return S_OK;
    }

    // aThreads 0: one share per thread of the pool; otherwise that many shares. Shares are
    // handed out whatever the size of the work: a task with fewer rows than shares turns the
    // extra ones away itself.
    HRESULT Execute(uint32_t aThreads, IThreadedTask* aTask) override {
        if (!aTask) return E_POINTER;
        const uint32_t size = size_;
        const uint32_t total = aThreads ? aThreads : size;
        // A share that starts a task of its own would wait for workers that are busy with
        // the outer one: run the inner task here instead.
        if (tInPool) return RunShares(aTask, total, 0, 1);

        std::lock_guard run(runMutex_);
        if (workers_.size() != size - 1) {
            StopWorkers();
            StartWorkers(size - 1);
        }
        {
            std::lock_guard lock(mutex_);
            task_ = aTask;
            total_ = total;
            participants_ = size;
            pending_ = static_cast<uint32_t>(workers_.size());
            result_ = S_OK;
            ++generation_;
        }
        wake_.notify_all();
        tInPool = true;
        HRESULT mine = RunShares(aTask, total, 0, size);
        tInPool = false;
        SpinFor([&] { return pending_.load() == 0; });
        std::unique_lock lock(mutex_);
        done_.wait(lock, [&] { return pending_ == 0; });
        Merge(result_, mine);
        task_ = nullptr;
        return result_;
    }

private:
    void StartWorkers(uint32_t aCount) {
        const uint64_t generation = generation_;
        for (uint32_t i = 0; i < aCount; ++i)
            workers_.emplace_back([this, participant = i + 1, generation] { WorkerLoop(participant, generation); });
    }

    void StopWorkers() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        for (auto& worker : workers_) worker.join();
        workers_.clear();
        stopping_ = false;
    }

    void WorkerLoop(uint32_t aParticipant, uint64_t aSeen) {
        tInPool = true;
        for (;;) {
            IThreadedTask* task;
            uint32_t total, participants;
            SpinFor([&] { return stopping_.load() || generation_.load() != aSeen; });
            {
                std::unique_lock lock(mutex_);
                wake_.wait(lock, [&] { return stopping_ || generation_ != aSeen; });
                if (stopping_) return;
                aSeen = generation_;
                task = task_;
                total = total_;
                participants = participants_;
            }
            HRESULT result = RunShares(task, total, aParticipant, participants);
            std::lock_guard lock(mutex_);
            Merge(result_, result);
            if (--pending_ == 0) done_.notify_one();
        }
    }

    std::atomic<uint32_t> size_{HardwareThreads()};
    std::mutex runMutex_;               // one task at a time; held by Execute throughout
    std::vector<std::thread> workers_;  // changed only under runMutex_, while no task runs

    std::mutex mutex_;  // guards what follows; the atomics are changed under it and read anywhere
    std::condition_variable wake_, done_;
    std::atomic<uint64_t> generation_{0};  // counts the tasks handed to the workers
    std::atomic<bool> stopping_{false};
    IThreadedTask* task_ = nullptr;
    uint32_t total_ = 0;
    uint32_t participants_ = 0;         // workers and the calling thread
    std::atomic<uint32_t> pending_{0};  // workers that have not finished the current task
    HRESULT result_ = S_OK;
};

StaticObject<ThreadPool>& ThePool() {
    static StaticObject<ThreadPool> pool;
    return pool;
}

}  // namespace

HRESULT CreateThreadPool(const IID& aIID, void** aOut) { return ThePool().QueryInterface(aIID, aOut); }

void SetThreadCount(uint32_t aThreads) { ThePool().SetSize(aThreads); }

uint32_t ThreadCount() { return ThePool().Size(); }

}  // namespace zthost
