// The one lock of the process.
#include <pthread.h>
#include <tnk/services.h>

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

void tnk_serv_lock(void) {
  pthread_mutex_lock(&lock);
}

void tnk_serv_unlock(void) {
  pthread_mutex_unlock(&lock);
}
