// CMPIBrokerExtFT: threads, locks and thread-specific values, over POSIX threads. Codes are those
// of the POSIX functions.

#include <pthread.h>

#include <cerrno>
#include <ctime>
#include <memory>

#include "broker/entry.h"
#include "broker/tables.h"

namespace broker {

namespace {

static_assert(sizeof(pthread_t) <= sizeof(void*));

// Message and library names are not resolved here.
char* ResolveFileName(const char*) { return nullptr; }

void* NewThread(void* (*start)(void*), void* parm, int detached) {
  pthread_t thread;
  if (pthread_create(&thread, nullptr, start, parm) != 0) return nullptr;
  if (detached != 0) pthread_detach(thread);
  return reinterpret_cast<void*>(thread);  // NOLINT(performance-no-int-to-ptr): a handle
}

int JoinThread(void* thread, void** retval) {
  return pthread_join(reinterpret_cast<pthread_t>(thread), retval);
}

int ExitThread(void* return_code) { pthread_exit(return_code); }

int CancelThread(void* thread) { return pthread_cancel(reinterpret_cast<pthread_t>(thread)); }

int ThreadSleep(CMPIUint32 msec) {
  const timespec time{static_cast<time_t>(msec / 1000), static_cast<long>(msec % 1000) * 1'000'000};
  return nanosleep(&time, nullptr);
}

int ThreadOnce(int* once, void (*init)()) { return pthread_once(once, init); }

int CreateThreadKey(unsigned long* key, void (*cleanup)(void*)) {
  pthread_key_t made;
  const int code = pthread_key_create(&made, cleanup);
  if (code == 0) *key = made;
  return code;
}

int DestroyThreadKey(unsigned long key) {
  return pthread_key_delete(static_cast<pthread_key_t>(key));
}

void* GetThreadSpecific(unsigned long key) {
  return pthread_getspecific(static_cast<pthread_key_t>(key));
}

int SetThreadSpecific(unsigned long key, void* value) {
  return pthread_setspecific(static_cast<pthread_key_t>(key), value);
}

void* NewMutex(int) {
  auto mutex = std::make_unique<pthread_mutex_t>();
  return pthread_mutex_init(mutex.get(), nullptr) == 0 ? mutex.release() : nullptr;
}

void DestroyMutex(void* memory) {
  const std::unique_ptr<pthread_mutex_t> mutex(static_cast<pthread_mutex_t*>(memory));
  if (mutex != nullptr) pthread_mutex_destroy(mutex.get());
}

void LockMutex(void* mutex) { pthread_mutex_lock(static_cast<pthread_mutex_t*>(mutex)); }
void UnlockMutex(void* mutex) { pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex)); }

void* NewCondition(int) {
  auto condition = std::make_unique<pthread_cond_t>();
  return pthread_cond_init(condition.get(), nullptr) == 0 ? condition.release() : nullptr;
}

void DestroyCondition(void* memory) {
  const std::unique_ptr<pthread_cond_t> condition(static_cast<pthread_cond_t*>(memory));
  if (condition != nullptr) pthread_cond_destroy(condition.get());
}

int CondWait(void* cond, void* mutex) {
  return pthread_cond_wait(static_cast<pthread_cond_t*>(cond),
                           static_cast<pthread_mutex_t*>(mutex));
}

int TimedCondWait(void* cond, void* mutex, timespec* wait) {
  return pthread_cond_timedwait(static_cast<pthread_cond_t*>(cond),
                                static_cast<pthread_mutex_t*>(mutex), wait);
}

int SignalCondition(void* cond) { return pthread_cond_signal(static_cast<pthread_cond_t*>(cond)); }

}  // namespace

CMPIBrokerExtFT broker_system = {
    CMPIVersion200,    ResolveFileName,     NewThread,        JoinThread,      ExitThread,
    CancelThread,      ThreadSleep,         ThreadOnce,       CreateThreadKey, DestroyThreadKey,
    GetThreadSpecific, SetThreadSpecific,   Entry<NewMutex>,  DestroyMutex,    LockMutex,
    UnlockMutex,       Entry<NewCondition>, DestroyCondition, CondWait,        TimedCondWait,
    SignalCondition,
};

}  // namespace broker
