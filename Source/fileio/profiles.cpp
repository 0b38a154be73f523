#include "fileio/profiles.h"

#include <cstdlib>

namespace skar::fileio {

int attachProfileState(_TELD_Sensor& sensor, std::uint32_t version, std::size_t encodeSize,
                       std::size_t decodeSize) {
    sensor.pReadStruct = std::calloc(1, sizeof(ProfileState));
    if (!sensor.pReadStruct) return codes::outOfMemory;
    ProfileState& state = profileState(sensor);
    state.common.needSeek = 1;
    state.version = version;
    state.end = sensor.state->file.position();
    qon_xdrmem_create(&sensor.encodeXDRStream, state.buffer, static_cast<std::uint32_t>(encodeSize),
                      XDR_ENCODE);
    qon_xdrmem_create(&sensor.decodeXDRStream, state.buffer, static_cast<std::uint32_t>(decodeSize),
                      XDR_DECODE);
    return codes::success;
}

} // namespace skar::fileio
