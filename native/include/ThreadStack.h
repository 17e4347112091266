/// How much room a thread has for Java.
#pragma once

#include <cstddef>
#include <pthread.h>

/// With less, making a JVM on the thread ends the process, and a JVM that runs refuses the thread.
constexpr std::size_t LeastStackForJava = std::size_t{128} * 1024;

/// Bytes of the calling thread's stack; of the first thread's, as many as it may grow to.
inline std::size_t stackOfThisThread()
{
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return LeastStackForJava;
    pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    return size;
}
