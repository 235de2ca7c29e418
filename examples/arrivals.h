/* Counts what callbacks tell, and lets the main thread wait for it with a deadline. */
#ifndef EXAMPLES_ARRIVALS_H
#define EXAMPLES_ARRIVALS_H

#include <errno.h>
#include <pthread.h>
#include <stdint.h>
#include <time.h>

typedef struct Arrivals {
    pthread_mutex_t mutex;
    pthread_cond_t more;
    uint32_t count;
} Arrivals;

static inline void InitArrivals(Arrivals *arrivals)
{
    pthread_mutex_init(&arrivals->mutex, NULL);
    pthread_cond_init(&arrivals->more, NULL);
    arrivals->count = 0;
}

static inline void OneArrived(Arrivals *arrivals)
{
    pthread_mutex_lock(&arrivals->mutex);
    ++arrivals->count;
    pthread_cond_broadcast(&arrivals->more);
    pthread_mutex_unlock(&arrivals->mutex);
}

/* 1 once so many have arrived, 0 if they don't within the time. */
static inline int AwaitArrivals(Arrivals *arrivals, uint32_t count, uint32_t seconds)
{
    const struct timespec deadline = {.tv_sec = time(NULL) + (time_t)seconds};
    pthread_mutex_lock(&arrivals->mutex);
    int status = 0;
    while (arrivals->count < count && status != ETIMEDOUT)
        status = pthread_cond_timedwait(&arrivals->more, &arrivals->mutex, &deadline);
    const int haveArrived = arrivals->count >= count;
    pthread_mutex_unlock(&arrivals->mutex);
    return haveArrived;
}

#endif
