// A function run over many items with a thread for each, and the meeting point of threads.
#include <algorithm>
#include <atomic>

#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/event.h"
#include "moltelib/multi_thread.h"
#include "moltelib/state.h"
#include "moltelib/thread.h"
#include "moltelib/thread_data.h"

using molte::CritGuard;
using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxsysutl;

struct Job {
    ORVEX_ALLTHREAD_PARAM* param;
    void* item;
    ORVEX_ALLTHREAD_STATUS* status;
    ORVEX_WORKFUNCTION work;
    bool started;
};

// What one run needs beside its jobs.
class Run {
 public:
    explicit Run(ORVEX_ALLTHREAD_STATUS* status) : made_(ORVEX_ALLTHREAD_PARAM_Init(&param_) == 1) {
        param_.pStatus = status;
    }
    ~Run() { ORVEX_ALLTHREAD_PARAM_Release(&param_); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    [[nodiscard]] bool made() const { return made_; }
    [[nodiscard]] ORVEX_ALLTHREAD_PARAM* param() { return &param_; }

 private:
    ORVEX_ALLTHREAD_PARAM param_;
    bool made_;
};

// It is read without the lock.
void add_running(ORVEX_ALLTHREAD_PARAM* param, int32_t change) {
    std::atomic_ref(param->nRunning).fetch_add(change, std::memory_order_acq_rel);
}

uint32_t run_job(void* context) {
    const Job& job = *static_cast<const Job*>(context);
    const int32_t result = job.work(job.item, job.status);
    MOLTE_THDATA_FreeData();
    // All of it under the lock: once that is left the run may be gone.
    const CritGuard guard(job.param->stCrit);
    add_running(job.param, -1);
    if (ORVEX_EVENT_Set(job.param->hDoneEvent) < 0) MOLTE_THDATA_FreeData();
    return static_cast<uint32_t>(result);
}

void start(Job* job) {
    {
        const CritGuard guard(job->param->stCrit);
        add_running(job->param, 1);
    }
    OXHANDLE thread = nullptr;
    ORVEX_CreateThread(&thread, 0, run_job, job, 0, nullptr);
    if (thread == nullptr) {
        const CritGuard guard(job->param->stCrit);
        add_running(job->param, -1);
        return;
    }
    job->started = true;
    ORVEX_CloseThreadHandle(thread);
}

void wait_for_all(ORVEX_ALLTHREAD_PARAM* param) {
    const std::atomic_ref running(param->nRunning);
    while (running.load(std::memory_order_acquire) > 0) {
        static_cast<void>(molte::wait_for_next_look(param->hDoneEvent));
    }
    // Here the last thread has left the lock, and everything else of the run.
    const CritGuard passed(param->stCrit);
}

int32_t run_rest_here(Job* first, Job* end) {
    for (Job* job = first; job != end; ++job) {
        if (!job->started && job->work(job->item, job->status) < 0) return kModule.trace(4863);
    }
    return 1;
}

}  // namespace

int32_t ORVEX_ALLTHREAD_PARAM_Init(ORVEX_ALLTHREAD_PARAM* pParam) {
    if (pParam == nullptr) return kModule.fail(here(), kBadArgument);
    *pParam = {};
    pParam->hDoneEvent = ORVEX_EVENT_Create(nullptr);
    if (pParam->hDoneEvent == nullptr) return kModule.trace(4803);
    return MOLTE_InitCrit(&pParam->stCrit);
}

int32_t ORVEX_ALLTHREAD_PARAM_Release(ORVEX_ALLTHREAD_PARAM* pParam) {
    if (pParam == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_EVENT_Release(pParam->hDoneEvent);
    MOLTE_ReleaseCrit(&pParam->stCrit);
    *pParam = {};
    return 1;
}

int32_t ORVEX_MultiThreadExec(ORVEX_WORKFUNCTION pfnWork, void* const* ppItems, int32_t nCount,
                              ORVEX_ALLTHREAD_STATUS* pStatus, int32_t nFlags) {
    if (pfnWork == nullptr || ppItems == nullptr || nCount < 1 || pStatus == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    *pStatus = {};
    Run run(pStatus);
    if (!run.made()) return kModule.trace(here());
    const auto jobs = molte::allocate<Job>(nCount);
    if (jobs == nullptr) return kModule.trace(here());
    Job* const first = jobs.get();
    Job* const end = first + nCount;
    for (Job* job = first; job != end; ++job) {
        *job = {run.param(), ppItems[job - first], pStatus, pfnWork, false};
        start(job);
    }
    wait_for_all(run.param());
    if (!std::all_of(first, end, [](const Job& job) { return job.started; })) {
        if ((nFlags & ORVEX_RUN_REST_HERE) == 0) {
            pStatus->bStop = 1;
            pStatus->bFailed = 1;
        } else if (run_rest_here(first, end) < 0) {
            pStatus->bFailed = 1;
        }
    }
    return pStatus->bFailed == 0 ? 1 : -1;
}

int32_t MOLTE_WaitThreadBurst(OXHANDLE hEvent, int32_t* pCount, int32_t nThreads) {
    if (pCount == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_ShortOpLock();  // brings the library up
    const bool last = int64_t{*pCount} >= int64_t{nThreads} - 1;
    *pCount = last ? 0 : *pCount + 1;
    if (last) ORVEX_EVENT_Set(hEvent);
    ORVEX_ShortOpUnLock();
    if (last) return 1;
    return molte::stop_requested() ? 0 : ORVEX_EVENT_Wait(hEvent);
}
