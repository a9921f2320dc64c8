// Device images have their lowest row first, without gaps: GPU images may not be stored top down.
#include "program/opencl_frames.h"

#include "host/status.h"
#include "metal/devices/opencl_api.h"

#include <cstring>
#include <vector>

namespace tarnwell {

namespace {

using namespace velloid::opencl;

void check(cl_int code, const char* call) {
    if (code != CL_SUCCESS) throw HostError("OpenCL error " + std::to_string(code) + " in " + call);
}

std::vector<cl_device_id> devicesOf(cl_platform_id platform, cl_bitfield type) {
    cl_uint count = 0;
    if (api()->clGetDeviceIDs(platform, type, 0, nullptr, &count) != CL_SUCCESS) return {};
    std::vector<cl_device_id> devices(count);
    if (count == 0 || api()->clGetDeviceIDs(platform, type, count, devices.data(), nullptr) != CL_SUCCESS) return {};
    return devices;
}

cl_device_id firstDevice() {
    cl_uint count = 0;
    if (api()->clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS || count == 0) return nullptr;
    std::vector<cl_platform_id> platforms(count);
    check(api()->clGetPlatformIDs(count, platforms.data(), nullptr), "clGetPlatformIDs");
    for (const cl_bitfield type : {CL_DEVICE_TYPE_GPU, CL_DEVICE_TYPE_ALL}) {
        for (const cl_platform_id platform : platforms) {
            const auto devices = devicesOf(platform, type);
            if (!devices.empty()) return devices.front();
        }
    }
    return nullptr;
}

// A text that the device tells of itself.
std::string textOf(cl_device_id device, cl_uint what) {
    char text[256] = {};
    if (api()->clGetDeviceInfo(device, what, sizeof text - 1, text, nullptr) != CL_SUCCESS) return "OpenCL";
    return text;
}

// Rows of an image in memory, from the lowest up.
struct Rows {
    explicit Rows(const ImageDesc& image)
        : first(static_cast<unsigned char*>(image.data)),
          bytes(bytesPerPixel(image.depth, image.components) *
                static_cast<std::size_t>(image.bounds.x2 - image.bounds.x1)),
          count(static_cast<std::size_t>(image.bounds.y2 - image.bounds.y1)),
          step(image.rowBytes != 0 ? image.rowBytes : static_cast<std::ptrdiff_t>(bytes)) {}

    unsigned char* row(std::size_t y) const { return first + static_cast<std::ptrdiff_t>(y) * step; }
    std::size_t size() const { return bytes * count; }

    unsigned char* first;
    std::size_t bytes; // of one row
    std::size_t count;
    std::ptrdiff_t step;
};

class DeviceImage {
public:
    DeviceImage(cl_context context, const ImageDesc& image) : rows_(image) {
        std::vector<unsigned char> packed = packedRows();
        cl_int code = CL_SUCCESS;
        buffer_ = api()->clCreateBuffer(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, packed.size(), packed.data(),
                                        &code);
        check(code, "clCreateBuffer");
    }
    ~DeviceImage() { api()->clReleaseMemObject(buffer_); }
    DeviceImage(const DeviceImage&) = delete;
    DeviceImage& operator=(const DeviceImage&) = delete;

    // The image as the plug-in gets it.
    ImageDesc described(ImageDesc image) const {
        image.data = buffer_;
        image.rowBytes = static_cast<std::ptrdiff_t>(rows_.bytes);
        return image;
    }

    // Copies the pixels to the device once more, and waits.
    void send(cl_command_queue queue) const {
        const std::vector<unsigned char> packed = packedRows();
        check(
            api()->clEnqueueWriteBuffer(queue, buffer_, CL_TRUE, 0, packed.size(), packed.data(), 0, nullptr, nullptr),
            "clEnqueueWriteBuffer");
    }

    // Waits for the queue and copies the pixels back to the image in memory.
    void fetch(cl_command_queue queue) const {
        std::vector<unsigned char> packed(rows_.size());
        check(api()->clEnqueueReadBuffer(queue, buffer_, CL_TRUE, 0, packed.size(), packed.data(), 0, nullptr, nullptr),
              "clEnqueueReadBuffer");
        for (std::size_t y = 0; y < rows_.count; ++y)
            std::memcpy(rows_.row(y), packed.data() + y * rows_.bytes, rows_.bytes);
    }

private:
    std::vector<unsigned char> packedRows() const {
        std::vector<unsigned char> packed(rows_.size());
        for (std::size_t y = 0; y < rows_.count; ++y)
            std::memcpy(packed.data() + y * rows_.bytes, rows_.row(y), rows_.bytes);
        return packed;
    }

    Rows rows_;
    cl_mem buffer_ = nullptr;
};

// The arguments of begin, render and end that say which queue to use.
std::function<void(PropertySet&)> onQueue(void* queue, const std::function<void(PropertySet&)>& also) {
    return [queue, also](PropertySet& args) {
        args.define({kOfxImageEffectPropOpenCLEnabled, PropertyType::Int, 1});
        args.putInts(kOfxImageEffectPropOpenCLEnabled, {1});
        args.define({kOfxImageEffectPropOpenCLCommandQueue, PropertyType::Pointer, 1});
        args.set<void*>(kOfxImageEffectPropOpenCLCommandQueue, 0, queue);
        if (also) also(args);
    };
}

} // namespace

OpenClFrames::OpenClFrames() {
    const cl_device_id device = api() ? firstDevice() : nullptr;
    if (!device) throw HostError("no OpenCL device on this machine");
    device_ = device;
    deviceName_ = textOf(device, CL_DEVICE_NAME);
    cl_int code = CL_SUCCESS;
    const cl_context context = api()->clCreateContext(nullptr, 1, &device, nullptr, nullptr, &code);
    check(code, "clCreateContext");
    context_ = context;
    queue_ = api()->clCreateCommandQueue(context, device, 0, &code);
    if (code == CL_SUCCESS) return;
    api()->clReleaseContext(context);
    check(code, "clCreateCommandQueue");
}

OpenClFrames::~OpenClFrames() {
    api()->clReleaseCommandQueue(static_cast<cl_command_queue>(queue_));
    api()->clReleaseContext(static_cast<cl_context>(context_));
}

bool OpenClFrames::isSupportedBy(Effect& effect) {
    return effect.descriptor().properties.textAt(kOfxImageEffectPropOpenCLRenderSupported) == "true";
}

std::string OpenClFrames::description() const {
    const auto device = static_cast<cl_device_id>(device_);
    return deviceName_ + " (" + textOf(device, CL_DEVICE_VENDOR) + ", " + textOf(device, CL_DEVICE_VERSION) +
           ", driver " + textOf(device, CL_DRIVER_VERSION) + ")";
}

std::optional<Identity> OpenClFrames::renderFrame(Instance& instance, const RenderRequest& request) {
    if (instance.isIdentity(request)) return instance.renderFrame(request); // a copy: nothing for a GPU
    if (request.source.depth != kOfxBitDepthFloat || request.output.depth != kOfxBitDepthFloat)
        throw HostError("only float images are rendered with OpenCL");
    Loaded frame(*this, instance, request);
    frame.render(request.time);
    frame.fetch();
    return std::nullopt;
}

struct OpenClFrames::Loaded::Images {
    DeviceImage source, output;
};

OpenClFrames::Loaded::Loaded(OpenClFrames& device, Instance& instance, const RenderRequest& request)
    : device_(device), instance_(instance), request_(request),
      images_(new Images{DeviceImage(static_cast<cl_context>(device.context_), request.source),
                         DeviceImage(static_cast<cl_context>(device.context_), request.output)}) {
    request_.source = images_->source.described(request.source);
    request_.output = images_->output.described(request.output);
    request_.adjustInArgs = onQueue(device.queue_, request.adjustInArgs);
}

OpenClFrames::Loaded::~Loaded() = default;

void OpenClFrames::Loaded::upload() {
    images_->source.send(static_cast<cl_command_queue>(device_.queue_));
}

void OpenClFrames::Loaded::render(double atTime) {
    request_.time = atTime;
    instance_.beginSequence(request_);
    instance_.render(request_);
    instance_.endSequence(request_);
    check(api()->clFinish(static_cast<cl_command_queue>(device_.queue_)), "clFinish");
}

void OpenClFrames::Loaded::fetch() {
    images_->output.fetch(static_cast<cl_command_queue>(device_.queue_));
}

} // namespace tarnwell
