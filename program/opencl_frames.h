// Frames through a plug-in on a GPU: the images travel to OpenCL buffers, the plug-in works on the host's queue, the
// result comes back.
#pragma once

#include "host/effect.h"

#include <memory>
#include <optional>
#include <string>

namespace tarnwell {

class OpenClFrames {
public:
    // On the machine's first GPU or, where there is none, its first OpenCL device. Throws HostError when there is none.
    OpenClFrames();
    ~OpenClFrames();
    OpenClFrames(const OpenClFrames&) = delete;
    OpenClFrames& operator=(const OpenClFrames&) = delete;

    const std::string& deviceName() const { return deviceName_; }
    // "NAME (VENDOR, OpenCL version, driver version)"
    std::string description() const;

    // Whether the plug-in declares that it renders OpenCL buffers. Its host has to offer it (HostOptions::openCl).
    static bool isSupportedBy(Effect& effect);

    // As Instance::renderFrame, with images in memory that are float. From any thread. Throws HostError also for what
    // the device refuses.
    std::optional<Identity> renderFrame(Instance& instance, const RenderRequest& request);

    // A frame whose images stay on the device: the steps of renderFrame one by one, for timing them. The request, its
    // images and the instance have to live as long.
    class Loaded {
    public:
        Loaded(OpenClFrames& device, Instance& instance, const RenderRequest& request);
        ~Loaded();
        Loaded(const Loaded&) = delete;
        Loaded& operator=(const Loaded&) = delete;

        void upload();              // the source again
        void render(double atTime); // and waits
        void fetch();               // to the output in memory

    private:
        struct Images;
        OpenClFrames& device_;
        Instance& instance_;
        RenderRequest request_;
        std::unique_ptr<Images> images_;
    };

private:
    void* context_ = nullptr; // cl_context
    void* device_ = nullptr;  // cl_device_id
    void* queue_ = nullptr;   // cl_command_queue, in order
    std::string deviceName_;
};

} // namespace tarnwell
