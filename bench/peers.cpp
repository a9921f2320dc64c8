#include "bench/peers.h"

namespace tarnwell::bench {

Facts peerFacts() {
    Facts all;
    for (const Facts& facts : {openColorIoFacts(), openCvFacts(), ffmpegFacts()})
        all.insert(all.end(), facts.begin(), facts.end());
    return all;
}

} // namespace tarnwell::bench
