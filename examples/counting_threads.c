/*
 * Threads that share out work, in plain C: they count the prime numbers below a limit, a range at a
 * time. The limit is a parameter of this program, and what the threads tell goes through a text
 * hook of its own.
 *
 *     counting_threads INSTALLATION
 *
 * A line "CountingLimit = 5000000" in the installation's INI file sets another limit.
 */
#include <stdio.h>
#include <stdlib.h>

#include "installation.h"
#include "moltelib.h"

enum { kDefaultLimit = 1000000, kMostThreads = 16, kNumbersAtOnce = 50000, kHookId = 1 };

static int fail(const char* what) {
    printf("%s\n", what);
    ORVEX_Err_Print();
    return 1;
}

/* ---- A parameter: its value, its item in the registry, and the setter that updates it ---- */

static int32_t limit;
static MOLTE_PARAMITEM limit_item;

/* Called for the registration below, and whenever an administrator changes or resets the value. */
static int32_t set_limit(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode,
                         int32_t index) {
    (void)index;
    const int32_t result = MOLTE_PARAMADM_IntAct(item, record, mode, kDefaultLimit, "CountingLimit",
                                                 set_limit, &limit);
    if (limit < 0) limit = 0; /* values come as they were written */
    return result;
}

/* ---- A hook: it numbers the lines. Hooks run one at a time, so the count needs no lock ---- */

/* What goes to OXMSG_TO_OUTER, be it information or an error. */
static const uint32_t kHookMask = OXMSG_TO_OUTER | OXMSG_OUTER | OXMSG_INFO | OXMSG_ERROR_TEXT;

static int32_t lines;

static int32_t number_line(uint32_t mask, void* user_data, int32_t data_size, const char* text,
                           int32_t length) {
    (void)mask;
    (void)user_data;
    (void)data_size;
    (void)length;
    printf("%2d  %s", (int)++lines, text);
    return 1;
}

/* ---- The work ---- */

/* Containers don't lock: whoever shares one locks around each call. */
typedef struct Work {
    OXCRITSECT lock;
    OX_IDRANGEARRAY ready;   /* numbers that nobody has taken yet */
    OX_IDRANGEARRAY working; /* numbers that a thread is busy with */
    int64_t primes;
} Work;

/* A range of its own for the calling thread: how many numbers; 0 for no more, -1 without memory. */
static int64_t take_range(Work* work, OX_IDRANGE* range) {
    if (g_stBv.bStopAll != 0) return 0;
    ORVEX_EnterCritSect(&work->lock);
    const int64_t count =
        OX_IDRANGEARRAY_GetReadySeg(&work->ready, &work->working, range, kNumbersAtOnce);
    ORVEX_LeaveCritSect(&work->lock);
    return count;
}

static void finish_range(Work* work, const OX_IDRANGE* range, int32_t primes) {
    ORVEX_EnterCritSect(&work->lock);
    OX_IDRANGEARRAY_SimpRemove(&work->working, range);
    work->primes += primes;
    ORVEX_LeaveCritSect(&work->lock);
}

static int is_prime(uint32_t n) {
    if (n % 2 == 0) return n == 2;
    for (uint32_t divisor = 3; (uint64_t)divisor * divisor <= n; divisor += 2) {
        if (n % divisor == 0) return 0;
    }
    return n > 1;
}

static int32_t primes_in(const OX_IDRANGE* range) {
    int32_t primes = 0;
    for (uint32_t n = range->nStart; n < range->nEnd; ++n) primes += is_prime(n);
    return primes;
}

/* ---- The threads ---- */

static uint32_t count_primes(void* context) {
    Work* work = context;
    OX_IDRANGE range;
    int32_t ranges = 0;
    int64_t numbers;
    while ((numbers = take_range(work, &range)) > 0) {
        finish_range(work, &range, primes_in(&range));
        ++ranges;
    }
    /* The error record is this thread's, so the thread itself tells of it. */
    if (numbers < 0) MOLTE_OutMsg(OXMSG_TO_OUTER | OXMSG_ERROR, "no range could be taken\n");
    MOLTE_OutMsg(OXMSG_TO_OUTER, "a thread is done with %d ranges\n", (int)ranges);
    MOLTE_THDATA_FreeData(); /* the library doesn't notice that a thread ends */
    return 0;
}

/* As many as there are processors, until the last has ended; how many could be started. */
static int32_t run_threads(Work* work) {
    OXHANDLE threads[kMostThreads];
    const int32_t wanted = MOLTE_LimitData(1, kMostThreads, (int32_t)g_stBv.stSysInfo.nCpuCount);
    int32_t started = 0;
    while (started < wanted) {
        ORVEX_CreateThread(&threads[started], 0, count_primes, work, 0, NULL);
        if (threads[started] == NULL) break; /* the others do its share */
        ++started;
    }
    for (int32_t i = 0; i < started; ++i) {
        /* With a thread still at work nothing may be torn down. */
        if (ORVEX_EVENT_Wait(threads[i]) < 0) exit(fail("A thread can't be waited for."));
        ORVEX_CloseThreadHandle(threads[i]);
    }
    return started;
}

static int count_all(Work* work) {
    const OX_IDRANGE all = {0, (uint32_t)limit};
    if (OX_IDRANGEARRAY_AddRange(&work->ready, &all, 1, 0) < 0) return fail("There is no memory.");
    MOLTE_OutMsg(OXMSG_TO_OUTER, "the prime numbers below %d\n", (int)limit);
    if (run_threads(work) < 1) return fail("No thread can be started.");
    if (OX_IDRANGEARRAY_HasWork(&work->ready) > 0) {
        printf("Not all numbers were looked at.\n");
        return 1;
    }
    MOLTE_OutMsg(OXMSG_TO_OUTER, "there are %lld\n", (long long)work->primes);
    return 0;
}

static int run(const char* installation) {
    if (!make_installation(installation)) return fail("The installation can't be made.");
    if (ORVEX_BASE_InitVar() < 0) return fail("The library can't be brought up.");
    if (set_limit(&limit_item, NULL, MOLTE_PARAM_REGISTER, 0) < 0) {
        return fail("The parameter CountingLimit can't be read.");
    }
    if (OTXTHOOK_InstallHook(number_line, NULL, NULL, 0, kHookMask, kHookId) < 0) {
        return fail("The hook can't be installed.");
    }
    Work work = {0};
    ORVEX_InitCritSect(&work.lock);
    const int result = count_all(&work);
    OX_IDRANGEARRAY_Release(&work.working);
    OX_IDRANGEARRAY_Release(&work.ready);
    ORVEX_DestroyCritSect(&work.lock);
    OTXTHOOK_RemoveHook(number_line, kHookId);
    return result;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "use: counting_threads INSTALLATION\n");
        return 2;
    }
    const int result = run(argv[1]);
    ORVEX_BASE_ReleaseVar();
    return result;
}
