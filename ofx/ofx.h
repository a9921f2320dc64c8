/* All of our OpenFX declarations. See ofx_core.h for what they are. */
#ifndef TARNWELL_OFX_H
#define TARNWELL_OFX_H

#include "ofx_core.h"
#include "ofx_gpu.h"
#include "ofx_image_effect.h"
#include "ofx_interact.h"
#include "ofx_memory.h"
#include "ofx_message.h"
#include "ofx_multithread.h"
#include "ofx_param.h"
#include "ofx_progress.h"
#include "ofx_property.h"
#include "ofx_timeline.h"

#endif
