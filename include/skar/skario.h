#ifndef SKAR_SKARIO_H
#define SKAR_SKARIO_H

/* All of the library's interface. */
#include <skar/navigation.h>
#include <skar/sensor.h>
#include <skar/simplesensor.h>

#endif
