// Scoped hold of the image objects' transform mutexes.
#ifndef TRANSFORM_LOCK_H
#define TRANSFORM_LOCK_H

#include <pthread.h>

// Holds up to two transform mutexes and releases them in the order in
// which they were taken, on every way out.
class TransformLock {
public:
    explicit TransformLock(pthread_mutex_t* first, pthread_mutex_t* second = nullptr) : mpFirst(first), mpSecond(second)
    {
        pthread_mutex_lock(mpFirst);
        if (mpSecond != nullptr)
            pthread_mutex_lock(mpSecond);
    }
    ~TransformLock()
    {
        pthread_mutex_unlock(mpFirst);
        if (mpSecond != nullptr)
            pthread_mutex_unlock(mpSecond);
    }

private:
    TransformLock(const TransformLock&) = delete;
    TransformLock& operator=(const TransformLock&) = delete;
    pthread_mutex_t* mpFirst;
    pthread_mutex_t* mpSecond;
};

#endif
