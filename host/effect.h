// A plug-in, from loading it to a rendered frame. The walk:
//
//   Host host;
//   Catalog catalog;
//   catalog.addBundle(host, "Tarnwell.ofx.bundle");             // or addFolder for each of searchFolders()
//   Effect effect(host, catalog.find("tarnwell.film"));         // nothing is sent yet
//   effect.load();                                              // load, describe; throws ActionError
//   Instance instance(effect, options);                         // describe in context, clips, parameters at default
//   instance.parameters().at("stock").parse("250D");            // by key; text as a person writes it
//   instance.create();                                          // create instance, clip preferences
//   RenderRequest request;                                      // time, window, scale, the two images
//   instance.renderFrame(request);                              // identity or begin, render, end; throws on failure
//                                                               // ~Instance destroys, ~Effect unloads
//
// Pixels stay the caller's: an ImageDesc points at them. Nothing is converted, so that what the plug-in sees is exactly
// what was asked for; negotiation happens before (Effect::bestDepth, Instance::depth) and a depth that the plug-in did
// not list is refused unless a test insists. One instance may render several frames or windows from several threads at
// once if the plug-in declares itself fully safe (Effect::threadSafety); creating and destroying instances is always
// safe from any thread. Windows and bounds are in pixels, x1 <= x < x2; y points up.
#pragma once

#include "host/catalog.h"
#include "host/host.h"
#include "host/parameters.h"
#include "host/property_set.h"
#include "host/status.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnwell {

class Instance;
struct EffectObject;

// A clip of a descriptor or an instance.
struct Clip {
    Clip(EffectObject& owner, const std::string& clipName);
    Clip(EffectObject& owner, const Clip& definition);

    OfxImageClipHandle handle() { return reinterpret_cast<OfxImageClipHandle>(this); }
    static Clip* of(OfxImageClipHandle handle) { return fromHandle<Clip>(HandleKind::Clip, handle); }
    bool isOptional() const;
    std::vector<std::string> components() const; // supported ones, as the plug-in lists them

    EffectObject& effect;
    std::string name;
    PropertySet properties;

private:
    LiveHandle live_{HandleKind::Clip, this};
};

// What an OfxImageEffectHandle points at: a descriptor, plain or of a context, or an instance.
struct EffectObject {
    EffectObject(const std::string& pluginIdentifier, const PropertySet& initial);
    EffectObject(const EffectObject&) = delete;
    EffectObject& operator=(const EffectObject&) = delete;

    OfxImageEffectHandle handle() { return reinterpret_cast<OfxImageEffectHandle>(this); }
    static EffectObject* of(OfxImageEffectHandle handle) {
        return fromHandle<EffectObject>(HandleKind::Effect, handle);
    }
    Clip* clip(const std::string& name);
    const Clip* clip(const std::string& name) const;

    std::string identifier;
    PropertySet properties;
    ParameterSet parameters;
    std::vector<std::unique_ptr<Clip>> clips;
    bool acceptsClips = false;    // inside describe-in-context
    Instance* instance = nullptr; // null for descriptors

private:
    LiveHandle live_{HandleKind::Effect, this};
};

// ---- the plug-in ----------------------------------------------------------------------------------------------------

class Effect {
public:
    Effect(Host& host, const FoundPlugin& found);
    Effect(Host& host, std::shared_ptr<PluginBinary> binary, OfxPlugin* plugin);
    ~Effect(); // unloads if loaded; never throws
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    // setHost, load, describe; checks that the plug-in lists a context and a pixel depth. Throws ActionError, or
    // HostError for a descriptor that cannot be used. Loading again after unload is fine.
    void load();
    void unload();
    bool isLoaded() const { return loaded_; }

    // One action, sent as it is; no reaction to the answer. Throws ActionError only if the plug-in throws. For tests
    // and for odd orders; the handle may be anything.
    OfxStatus send(const char* action, const void* handle, PropertySet* inArgs = nullptr,
                   PropertySet* outArgs = nullptr) const;

    // What the plug-in declared, in the standard's names (kOfx...) where there are any. Before load as the standard has
    // them at first: no context, no depth; the label is the identifier.
    std::string identifier() const;
    unsigned int versionMajor() const { return plugin_->pluginVersionMajor; }
    unsigned int versionMinor() const { return plugin_->pluginVersionMinor; }
    std::string label() const;
    std::string grouping() const;
    std::vector<std::string> contexts() const;
    std::vector<std::string> depths() const;
    std::string threadSafety() const; // kOfxImageEffectRenderFullySafe and so on
    // The deepest depth of the list that we can feed: float, half, short, byte; "" when there is none.
    std::string bestDepth() const;

    EffectObject& descriptor() { return *descriptor_; }
    // The descriptor of a context, described on first use. Throws HostError for one that the plug-in does not list,
    // ActionError when it refuses. From any thread.
    EffectObject& context(const std::string& context);
    Host& host() const { return host_; }
    OfxPlugin* plugin() const { return plugin_; }
    // The bundle's folder, "" for linked entry points.
    std::string bundlePath() const { return binary_->bundle().string(); }

private:
    void describe();
    void insistOnUse() const;

    Host& host_;
    std::shared_ptr<PluginBinary> binary_;
    OfxPlugin* plugin_;
    bool loaded_ = false;
    std::unique_ptr<EffectObject> descriptor_;
    std::mutex contextsMutex_; // guards contexts_
    std::map<std::string, std::unique_ptr<EffectObject>> contexts_;
};

// ---- frames ---------------------------------------------------------------------------------------------------------

// An image as the plug-in will see it; the memory is the caller's.
struct ImageDesc {
    void* data = nullptr;        // pixel (bounds.x1, bounds.y1), the lower left one
    OfxRectI bounds{0, 0, 0, 0}; // pixels in memory
    std::ptrdiff_t rowBytes = 0; // from a row to the one above; 0: packed; negative: the image is stored top down
    std::string depth = kOfxBitDepthFloat;
    std::string components = kOfxImageComponentRGBA;
    std::string preMultiplication = kOfxImagePreMultiplied;
    std::optional<OfxRectI> regionOfDefinition; // pixels, the whole image; the bounds if not given
    std::optional<double> pixelAspect;          // the request's if not given
    std::string field = kOfxImageFieldNone;
    std::string uniqueIdentifier;             // a fresh one if empty
    std::function<void(PropertySet&)> adjust; // last word on the image's properties: change or erase

    bool isPresent() const { return data != nullptr || adjust != nullptr; }
};

struct RenderRequest {
    double time = 0.0;               // frames
    OfxRectI window{0, 0, 0, 0};     // pixels, inside the output's bounds
    OfxPointD renderScale{1.0, 1.0}; // pixels per canonical unit of a full frame; above 0
    double pixelAspect = 1.0;        // width of a pixel by its height; above 0
    std::string field = kOfxImageFieldNone;
    ImageDesc source; // an absent one is "no image there"
    ImageDesc output;
    std::map<std::string, ImageDesc> others; // further input clips, by name
    // Images of other times, for plug-ins that look around; may be null. Must stay valid until the render returns.
    std::function<std::optional<ImageDesc>(const std::string& clip, double time)> imageAt;
    OfxRangeD frameRange{0.0, 0.0}; // frames, both ends included, of the sequence that this frame belongs to
    bool interactive = false;
    bool draft = false;
    bool allowUnlistedDepths = false;               // hand over what the plug-in did not list, as some hosts do
    std::function<void(PropertySet&)> adjustInArgs; // last word on the arguments of begin, render and end
};

// "The output is this clip's image of that time."
struct Identity {
    std::string clip; // one that the instance has
    double time;      // frames
};

// What the plug-in answered, in its own words; Instance::depth and components tell what came of it.
struct ClipPreferences {
    std::map<std::string, std::string> components; // by clip
    std::map<std::string, std::string> depths;     // by clip
    std::map<std::string, double> pixelAspects;    // by clip
    std::string preMultiplication;                 // of Output
    std::string fieldOrder;
    double frameRate = 0.0; // frames per second
    bool continuousSamples = false;
    bool frameVarying = false;
};

// What a render did, told without throwing.
struct RenderOutcome {
    OfxStatus status = kOfxStatOK;
    int imagesFetched = 0;
    int imagesLeaked = 0; // not released when the action returned
};

// ---- the instance ---------------------------------------------------------------------------------------------------

struct InstanceOptions {
    std::string context = kOfxImageEffectContextFilter;
    std::string depth;      // of all clips; empty: Effect::bestDepth. Not checked here: tests may insist.
    std::string components; // of Source; empty: RGBA if Source takes it, else the first that it lists
    std::string preMultiplication = kOfxImagePreMultiplied; // of Source
    OfxPointD projectSize{1920.0, 1080.0};                  // canonical
    double pixelAspect = 1.0;
    double frameRate = 24.0;                   // frames per second
    OfxRangeD frameRange{0.0, 0.0};            // of the project, frames
    std::vector<std::string> connected;        // optional input clips that are filled; Source and Output always are
    std::function<void(EffectObject&)> adjust; // last word on the instance's and its clips' properties
};

class Instance {
public:
    // Describes the context if need be and builds clips and parameters. Sends nothing to the instance yet. Throws as
    // Effect::context.
    explicit Instance(Effect& effect, const InstanceOptions& options = {});
    ~Instance(); // destroys if created; never throws
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Create instance, then clip preferences. Throws ActionError.
    void create();
    void destroy();

    ParameterSet& parameters() { return object_.parameters; }
    // Parameter by key, value as text: Parameter::parse. Throws ParameterError. Sends nothing.
    void setParameter(const std::string& key, const std::string& written);
    // The same as a user's edit: the value, then begin, instance changed, end. Throws ParameterError, ActionError.
    void changeParameter(const std::string& key, const std::string& written, double time = 0.0);
    // Begin, instance changed and end for one parameter, as for a pressed button. Throws likewise.
    void sendChanged(const std::string& key, double time = 0.0, const char* reason = kOfxChangeUserEdited);

    // Asks the plug-in and applies the answer to the clips. Throws ActionError.
    ClipPreferences askClipPreferences();
    const ClipPreferences& clipPreferences() const { return preferences_; }
    // Depth and components that images of this clip should have; the standard's "none" for a clip that is not there.
    std::string depth(const std::string& clip = kOfxImageEffectSimpleSourceClipName) const;
    std::string components(const std::string& clip = kOfxImageEffectSimpleSourceClipName) const;

    // Empty: render. Throws ActionError.
    std::optional<Identity> isIdentity(const RenderRequest& request);
    // Canonical; the default region is `sourceRegion`, or the project. Infinite sides are cut to the project. Throws
    // ActionError, as do the two below.
    OfxRectD regionOfDefinition(double time, OfxPointD renderScale = {1.0, 1.0},
                                std::optional<OfxRectD> sourceRegion = std::nullopt);
    // Canonical, by input clip: what the plug-in reads for `region` of its output.
    std::map<std::string, OfxRectD> regionsOfInterest(double time, const OfxRectD& region,
                                                      OfxPointD renderScale = {1.0, 1.0});
    // Ranges of frames per input clip; the current frame unless the plug-in looks around.
    std::map<std::string, std::vector<OfxRangeD>> framesNeeded(double time);

    // Begin and end sequence; throw ActionError.
    void beginSequence(const RenderRequest& request);
    void endSequence(const RenderRequest& request);
    // The render action alone. Throws HostError for a depth that the plug-in did not list; tells everything else.
    RenderOutcome tryRender(const RenderRequest& request);
    // The render action alone. Throws ActionError unless it answered kOfxStatOK and released every image.
    void render(const RenderRequest& request);
    // A whole frame: is-identity, else begin, render, end. Of an identity of an image at hand (the request's time, or
    // imageAt) the window is copied to the output; returns the identity then. Throws ActionError, HostError.
    std::optional<Identity> renderFrame(const RenderRequest& request);

    // Any action on this instance, sent as it is; throws only if the plug-in does.
    OfxStatus send(const char* action, PropertySet* inArgs = nullptr, PropertySet* outArgs = nullptr);
    void purgeCaches(); // throws ActionError

    Effect& effect() const { return effect_; }
    EffectObject& object() { return object_; }
    const InstanceOptions& options() const { return options_; }
    std::string persistentMessage() const;
    void setPersistentMessage(const std::string& text);

    std::atomic<bool> abortRequested{false}; // read by the plug-in's abort and progress calls
    std::atomic<double> timeLineTime{0.0};   // frames; what the timeline suite says

private:
    friend class RenderJob;

    void describeProject();
    void buildClips(const EffectObject& descriptor);
    void connect(Clip& clip);
    void fillPreferences(PropertySet& outArgs) const;
    void applyPreferences(const PropertySet& outArgs);
    void check(const char* action, OfxStatus status) const;
    void checkDepths(const RenderRequest& request) const;
    void fillRenderArgs(PropertySet& args, const RenderRequest& request) const;
    std::optional<ImageDesc> imageOf(const Identity& identity, const RenderRequest& request) const;

    Effect& effect_;
    InstanceOptions options_;
    EffectObject& descriptor_; // of the context
    EffectObject object_;
    ClipPreferences preferences_;
    bool created_ = false;
    mutable std::mutex messageMutex_; // guards persistentMessage_
    std::string persistentMessage_;
};

// Bytes of one pixel; 0 for names that are none.
std::size_t bytesPerPixel(const std::string& depth, const std::string& components);

} // namespace tarnwell
