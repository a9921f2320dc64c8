// One render action on its way: the images that it handed out, and which of them came back.
#pragma once

#include "host/effect.h"

#include <list>
#include <memory>
#include <mutex>

namespace tarnwell {

class RenderJob;

// An image handle: a property set that knows the frame it belongs to.
class Image : public PropertySet {
public:
    explicit Image(RenderJob& job);
    static Image* of(OfxPropertySetHandle handle);

    RenderJob& job() const { return job_; }

private:
    RenderJob& job_;
    LiveHandle live_;
};

class RenderJob {
public:
    RenderJob(Instance& instance, const RenderRequest& request);
    ~RenderJob();
    RenderJob(const RenderJob&) = delete;
    RenderJob& operator=(const RenderJob&) = delete;

    // The frame that a call on `instance` for `time` belongs to: the calling thread's own, else one of that time, else
    // any; null outside of renders. Several frames of an instance can be on their way at once.
    static RenderJob* of(const Instance& instance, double time);

    // The calling thread's frame, null if none. A Scope sets it and puts the former one back.
    static RenderJob* current();
    class Scope {
    public:
        explicit Scope(RenderJob* job);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        RenderJob* former_;
    };

    // A fresh handle on the image of a clip at a time; null if there is none.
    Image* fetch(const Clip& clip, double time);
    void release(Image& image);
    // The region of a clip's image in canonical coordinates.
    std::optional<OfxRectD> regionOf(const Clip& clip, double time) const;

    int fetched() const { return fetched_; }
    int unreleased() const;

private:
    std::optional<ImageDesc> describe(const std::string& clip, double time) const;
    void fill(Image& image, const ImageDesc& desc, const std::string& clip, double time) const;

    Instance& instance_;
    const RenderRequest& request_;
    mutable std::mutex mutex_; // guards images_ and fetched_
    std::list<std::unique_ptr<Image>> images_;
    int fetched_ = 0;
};

} // namespace tarnwell
