// The process's memory and threads, counted, and refused on demand. The program's own malloc and pthread_create stand
// before the system's for every library of the process, the bundle among them.
#pragma once

#include <cstddef>

namespace velloid::test {

// Which allocations fail while it lives, counted from 1 since it began. Not counted are those of the host (InsideHost),
// of the loader and of pthread_create, which a plug-in can neither prevent nor see: the loader ends the process where
// it can't get a thread's storage.
class Refusal {
public:
    enum class Where { AnyThread, OtherThreads };
    enum class Which { Only, AndAllAfter };

    Refusal(long n, Which which, Where where);
    ~Refusal();
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    bool happened() const; // the n-th came
};

// What is allocated and not freed in the whole process.
struct Memory {
    long long blocks = 0;
    long long bytes = 0; // as the allocator rounded them up
};
Memory liveMemory();

// Lets the n-th thread from now on not start; 0: all start. Says what came of it since the last call.
struct Threads {
    long asked;
    long joined;
};
Threads refuseThread(long n);

} // namespace velloid::test
