#ifndef SKAR_SKARIO_H
#define SKAR_SKARIO_H

/* All of the library's interface. */
#include <skar/codes.h>
#include <skar/contact.h>
#include <skar/eventmark.h>
#include <skar/export.h>
#include <skar/installation.h>
#include <skar/interpolation.h>
#include <skar/log.h>
#include <skar/multibeamsidescan.h>
#include <skar/navigation.h>
#include <skar/platform.h>
#include <skar/observeddepths.h>
#include <skar/paths.h>
#include <skar/platform.h>
#include <skar/processeddepths.h>
#include <skar/processedsidescan.h>
#include <skar/sensor.h>
#include <skar/sensorparameters.h>
#include <skar/simplesensor.h>
#include <skar/sidescan.h>
#include <skar/slantrange.h>
#include <skar/smoothing.h>
#include <skar/soundvelocity.h>
#include <skar/ssp.h>
#include <skar/time.h>
#include <skar/tpe.h>
#include <skar/version.h>
#include <skar/vesselimport.h>
#include <skar/vesseltmidx.h>
#include <skar/xml.h>

#ifdef __cplusplus
#include <skar/amplitude.h>
#include <skar/attributetypes.h>
#include <skar/cstring.h>
#include <skar/datafile.h>
#include <skar/errors.h>
#include <skar/files.h>
#include <skar/project.h>
#include <skar/rawdataindex.h>
#include <skar/rmsfiles.h>
#include <skar/sensortype.h>
#include <skar/strings.h>
#include <skar/vessel.h>
#include <skar/vesselsensors.h>
#endif

#endif
