// Everything of ours that outlives a frame, and how long it lives:
//
//   what                        where                          made                       given back by
//   host and suites             plugin/host.cpp                setHost, load              nothing: plain pointers
//   output tables               plugin/output_lut_cache.cpp    first use                  purge, unload
//   look tables                 color/looks.cpp                first use                  unload
//   worker pool                 process/parallel_pool.cpp      first loop                 unload: stopped for good
//   scratch blocks              process/scratch.cpp            first use                  purge, unload
//   row kernels' choice         rows/kernels.cpp               first use                  nothing: a pointer
//   counter of tables           color/lut3d.cpp                load                       nothing: a number
//   locale of .cube files       color/cube_reader.cpp          load                       nothing
//   a worker's row of doubles   process/parallel_pool.cpp      first wide blur            the worker, as it ends
//   GPU contexts, planes        metal/device_context.cpp       first GPU frame            unload; caches by purge
//   OpenCL runtime's functions  metal/devices/opencl_api.cpp   first asked for            nothing: pointers
//   OpenCL kernels, verdicts    metal/devices/opencl_device    first frame on a device    unload
//   GPU frames under way        metal/devices/                 first GPU frame            when they are done
//
// None of it is destroyed when the process ends: a host's threads may still render while exit() runs. What one of them
// owns beyond its own bytes goes with unload, and on Linux with a host that closes the library without
// (packaging/library_close.cpp).
//
// What has locks or memory is a ProcessWide object. A child process that a host forks has one thread, and whatever the
// others had locked or half done stays so for ever: there these objects are made anew. What the parent's copies owned
// is lost to the child.
#pragma once

#include <new>

namespace velloid {

class ProcessWideBase {
public:
    ProcessWideBase(const ProcessWideBase&) = delete;
    ProcessWideBase& operator=(const ProcessWideBase&) = delete;

    // Makes all objects anew. For the child of a fork, whose only thread calls it.
    static void renewAll();

protected:
    explicit ProcessWideBase(void (*renew)(ProcessWideBase&));

private:
    void (*const renew_)(ProcessWideBase&);
    ProcessWideBase* const next_;
};

// A T of the process, made when the library is loaded, never destroyed. T() must not allocate or throw. Stands at
// namespace scope.
template <typename T>
class ProcessWide : ProcessWideBase {
public:
    ProcessWide() : ProcessWideBase(renew) { renew(*this); }

    T& operator*() { return *std::launder(reinterpret_cast<T*>(storage)); }
    T* operator->() { return &**this; }

private:
    static void renew(ProcessWideBase& self) {
        static_assert(noexcept(T()));
        ::new (static_cast<void*>(static_cast<ProcessWide&>(self).storage)) T();
    }

    alignas(T) unsigned char storage[sizeof(T)];
};

} // namespace velloid
