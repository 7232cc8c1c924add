// Mutexes and semaphores between processes, nobody else wanting them, beside those of POSIX.
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>

#include <cstdlib>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

void must(bool holds) {
    if (!holds) std::abort();
}

pthread_mutex_t* robust_mutex() {
    void* place = mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    must(place != MAP_FAILED);
    auto* mutex = static_cast<pthread_mutex_t*>(place);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    must(pthread_mutex_init(mutex, &attributes) == 0);
    return mutex;
}

}  // namespace

int main() {
    const std::string name = "moltelib-bench-" + std::to_string(std::rand());
    OXHANDLE mutex = nullptr;
    OXHANDLE semaphore = nullptr;
    must(MOLTE_MUTEX_Create(&mutex, (name + "-mutex").c_str()) == 1);
    must(MOLTE_SEMA_Create(&semaphore, 1, 1, (name + "-semaphore").c_str()) == 1);
    pthread_mutex_t* const their_mutex = robust_mutex();
    const std::string their_name = "/" + name;
    sem_t* const their_semaphore = sem_open(their_name.c_str(), O_CREAT | O_EXCL, 0600, 1);
    must(their_semaphore != SEM_FAILED);
    sem_unlink(their_name.c_str());

    molte_bench::pair(
        "named mutex", "robust pthread mutex",
        [&] { must(MOLTE_MUTEX_Lock(&mutex, 0) == 1 && MOLTE_MUTEX_Unlock(&mutex) == 1); },
        [&] {
            must(pthread_mutex_lock(their_mutex) == 0 && pthread_mutex_unlock(their_mutex) == 0);
        });
    molte_bench::pair(
        "named semaphore", "sem_t",
        [&] {
            must(MOLTE_SEMA_GetResource(&semaphore, 0) == 1 &&
                 MOLTE_SEMA_FreeResource(&semaphore) == 1);
        },
        [&] { must(sem_wait(their_semaphore) == 0 && sem_post(their_semaphore) == 0); });
    MOLTE_MUTEX_Release(&mutex);
    MOLTE_SEMA_Release(&semaphore);
    sem_close(their_semaphore);
}
