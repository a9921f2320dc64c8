// The part of OpenCL 1.2 that Tarnwell uses, declared here and found at run time: the plug-in neither includes OpenCL
// headers nor links an OpenCL library, and works on machines that have neither. Names and values are those of the
// Khronos OpenCL 1.2 API.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velloid::opencl {

using cl_int = std::int32_t;
using cl_uint = std::uint32_t;
using cl_bool = std::uint32_t;
using cl_bitfield = std::uint64_t;

using cl_platform_id = struct PlatformHandle*;
using cl_device_id = struct DeviceHandle*;
using cl_context = struct ContextHandle*;
using cl_command_queue = struct CommandQueueHandle*;
using cl_mem = struct MemHandle*;
using cl_program = struct ProgramHandle*;
using cl_kernel = struct KernelHandle*;
using cl_event = struct EventHandle*;

// clang-format off
constexpr cl_int  CL_SUCCESS                  = 0;
constexpr cl_int  CL_INVALID_WORK_GROUP_SIZE  = -54;
constexpr cl_int  CL_INVALID_WORK_ITEM_SIZE   = -55;
constexpr cl_bool CL_FALSE                    = 0;
constexpr cl_bool CL_TRUE                     = 1;

constexpr cl_bitfield CL_DEVICE_TYPE_GPU      = 1u << 2;
constexpr cl_bitfield CL_DEVICE_TYPE_ALL      = 0xFFFFFFFFu;
constexpr cl_uint CL_DEVICE_NAME              = 0x102B;
constexpr cl_uint CL_DEVICE_VENDOR            = 0x102C;
constexpr cl_uint CL_DRIVER_VERSION           = 0x102D;
constexpr cl_uint CL_DEVICE_VERSION           = 0x102F;

constexpr cl_uint CL_CONTEXT_REFERENCE_COUNT  = 0x1080;
constexpr cl_uint CL_CONTEXT_DEVICES          = 0x1081;

constexpr cl_uint CL_QUEUE_CONTEXT            = 0x1090;
constexpr cl_uint CL_QUEUE_DEVICE             = 0x1091;
constexpr cl_uint CL_QUEUE_REFERENCE_COUNT    = 0x1092;
constexpr cl_uint CL_QUEUE_PROPERTIES         = 0x1093;
constexpr cl_bitfield CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE = 1u << 0;

constexpr cl_bitfield CL_MEM_READ_WRITE       = 1u << 0;
constexpr cl_bitfield CL_MEM_COPY_HOST_PTR    = 1u << 5;
constexpr cl_uint CL_MEM_OBJECT_BUFFER        = 0x10F0;
constexpr cl_uint CL_MEM_TYPE                 = 0x1100;
constexpr cl_uint CL_MEM_SIZE                 = 0x1102;
constexpr cl_uint CL_MEM_REFERENCE_COUNT      = 0x1105;
constexpr cl_uint CL_MEM_CONTEXT              = 0x1106;

constexpr cl_uint CL_PROGRAM_NUM_DEVICES      = 0x1162;
constexpr cl_uint CL_PROGRAM_DEVICES          = 0x1163;
constexpr cl_uint CL_PROGRAM_BINARY_SIZES     = 0x1165;
constexpr cl_uint CL_PROGRAM_BINARIES         = 0x1166;
constexpr cl_uint CL_PROGRAM_BUILD_LOG        = 0x1183;
constexpr cl_uint CL_KERNEL_FUNCTION_NAME     = 0x1190;
constexpr cl_uint CL_KERNEL_NUM_ARGS          = 0x1191;

constexpr cl_int  CL_COMPLETE                 = 0;
// clang-format on

#if defined(_WIN32)
#define TARNWELL_CL_CALL __stdcall
#else
#define TARNWELL_CL_CALL
#endif

// Every function that is used: result, name, parameters. Expanded below into a pointer each.
#define TARNWELL_CL_FUNCTIONS(CALL)                                                                                    \
    CALL(cl_int, clGetPlatformIDs, (cl_uint, cl_platform_id*, cl_uint*))                                               \
    CALL(cl_int, clGetDeviceIDs, (cl_platform_id, cl_bitfield, cl_uint, cl_device_id*, cl_uint*))                      \
    CALL(cl_int, clGetDeviceInfo, (cl_device_id, cl_uint, std::size_t, void*, std::size_t*))                           \
    CALL(cl_context, clCreateContext,                                                                                  \
         (const std::intptr_t*, cl_uint, const cl_device_id*,                                                          \
          void(TARNWELL_CL_CALL*)(const char*, const void*, std::size_t, void*), void*, cl_int*))                      \
    CALL(cl_int, clRetainContext, (cl_context))                                                                        \
    CALL(cl_int, clReleaseContext, (cl_context))                                                                       \
    CALL(cl_int, clGetContextInfo, (cl_context, cl_uint, std::size_t, void*, std::size_t*))                            \
    CALL(cl_command_queue, clCreateCommandQueue, (cl_context, cl_device_id, cl_bitfield, cl_int*))                     \
    CALL(cl_int, clRetainCommandQueue, (cl_command_queue))                                                             \
    CALL(cl_int, clReleaseCommandQueue, (cl_command_queue))                                                            \
    CALL(cl_int, clGetCommandQueueInfo, (cl_command_queue, cl_uint, std::size_t, void*, std::size_t*))                 \
    CALL(cl_mem, clCreateBuffer, (cl_context, cl_bitfield, std::size_t, void*, cl_int*))                               \
    CALL(cl_int, clRetainMemObject, (cl_mem))                                                                          \
    CALL(cl_int, clReleaseMemObject, (cl_mem))                                                                         \
    CALL(cl_int, clGetMemObjectInfo, (cl_mem, cl_uint, std::size_t, void*, std::size_t*))                              \
    CALL(cl_program, clCreateProgramWithSource, (cl_context, cl_uint, const char**, const std::size_t*, cl_int*))      \
    CALL(cl_program, clCreateProgramWithBinary,                                                                        \
         (cl_context, cl_uint, const cl_device_id*, const std::size_t*, const unsigned char**, cl_int*, cl_int*))      \
    CALL(cl_int, clReleaseProgram, (cl_program))                                                                       \
    CALL(cl_int, clBuildProgram,                                                                                       \
         (cl_program, cl_uint, const cl_device_id*, const char*, void(TARNWELL_CL_CALL*)(cl_program, void*), void*))   \
    CALL(cl_int, clGetProgramInfo, (cl_program, cl_uint, std::size_t, void*, std::size_t*))                            \
    CALL(cl_int, clGetProgramBuildInfo, (cl_program, cl_device_id, cl_uint, std::size_t, void*, std::size_t*))         \
    CALL(cl_kernel, clCreateKernel, (cl_program, const char*, cl_int*))                                                \
    CALL(cl_int, clCreateKernelsInProgram, (cl_program, cl_uint, cl_kernel*, cl_uint*))                                \
    CALL(cl_int, clReleaseKernel, (cl_kernel))                                                                         \
    CALL(cl_int, clGetKernelInfo, (cl_kernel, cl_uint, std::size_t, void*, std::size_t*))                              \
    CALL(cl_int, clSetKernelArg, (cl_kernel, cl_uint, std::size_t, const void*))                                       \
    CALL(cl_int, clEnqueueNDRangeKernel,                                                                               \
         (cl_command_queue, cl_kernel, cl_uint, const std::size_t*, const std::size_t*, const std::size_t*, cl_uint,   \
          const cl_event*, cl_event*))                                                                                 \
    CALL(cl_int, clEnqueueReadBuffer,                                                                                  \
         (cl_command_queue, cl_mem, cl_bool, std::size_t, std::size_t, void*, cl_uint, const cl_event*, cl_event*))    \
    CALL(cl_int, clEnqueueWriteBuffer,                                                                                 \
         (cl_command_queue, cl_mem, cl_bool, std::size_t, std::size_t, const void*, cl_uint, const cl_event*,          \
          cl_event*))                                                                                                  \
    CALL(cl_int, clEnqueueCopyBuffer,                                                                                  \
         (cl_command_queue, cl_mem, cl_mem, std::size_t, std::size_t, std::size_t, cl_uint, const cl_event*,           \
          cl_event*))                                                                                                  \
    CALL(cl_int, clEnqueueMarkerWithWaitList, (cl_command_queue, cl_uint, const cl_event*, cl_event*))                 \
    CALL(cl_int, clEnqueueBarrierWithWaitList, (cl_command_queue, cl_uint, const cl_event*, cl_event*))                \
    CALL(cl_int, clFlush, (cl_command_queue))                                                                          \
    CALL(cl_int, clFinish, (cl_command_queue))                                                                         \
    CALL(cl_int, clSetEventCallback, (cl_event, cl_int, void(TARNWELL_CL_CALL*)(cl_event, cl_int, void*), void*))      \
    CALL(cl_int, clReleaseEvent, (cl_event))

struct Api {
#define TARNWELL_CL_POINTER(result, name, parameters) result(TARNWELL_CL_CALL* name) parameters = nullptr;
    TARNWELL_CL_FUNCTIONS(TARNWELL_CL_POINTER)
#undef TARNWELL_CL_POINTER
};

// The runtime of this machine, loaded on first use and never unloaded; null when there is none or it is older than 1.2.
const Api* api();

} // namespace velloid::opencl
