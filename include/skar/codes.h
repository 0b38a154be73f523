#ifndef SKAR_CODES_H
#define SKAR_CODES_H

/* The codes that the plain functions return: 0 is success, -1 a null argument or a failure that has no code,
   and any other is either one of the single codes (SKAR_CODES) or the sum of a family's block
   (SKAR_CODE_BLOCKS) and what happened (SKAR_CODE_OFFSETS), which means the same in every family.

   In C:   SKAR_BLOCK_navigation + SKAR_OFFSET_nullHandle, SKAR_CODE_sensorMissing
   In C++: skar::codes::navigation + skar::Offset::nullHandle, skar::codes::sensorMissing

   Each list is written once; enumerations and texts are made of it. An entry is (name, number, meaning). */

#define SKAR_CODE_BLOCKS(X)                                                                                  \
    X(frame, 5000000, "sensor store")                                                                        \
    X(navigation, 5000100, "navigation and towed navigation")                                                \
    X(observedDepths, 5000200, "observed depths")                                                            \
    X(vesselConfig, 5000400, "vessel configuration")                                                         \
    X(eventMarks, 5000700, "event marks")                                                                    \
    X(simpleSensor, 5001200, "time series")                                                                  \
    X(processedDepths, 5001300, "processed depths")                                                          \
    X(sideScan, 5001700, "side scan")                                                                        \
    X(slantRange, 5001900, "slant ranges")                                                                   \
    X(sss, 5002100, "towed side scan")                                                                       \
    X(sssProcessed, 5002300, "processed side scan")                                                          \
    X(tpe, 5002700, "total propagated error")                                                                \
    X(ssp, 5002800, "surface sound speed")                                                                   \
    X(sensorParameters, 5003000, "sensor parameters")                                                        \
    X(soundVelocity, 5016000, "sound velocity files")                                                        \
    X(smoothing, 5017100, "smoothing coefficients")                                                          \
    X(contacts, 5024000, "contacts")                                                                         \
    X(pathRegistry, 5028600, "project path registry")                                                        \
    X(environment, 5028700, "environment setup")

#define SKAR_CODE_OFFSETS(X)                                                                                 \
    X(openFile, 1, "the line segment file or another file could not be opened")                              \
    X(writeSegments, 2, "the line segment file could not be written")                                        \
    X(decodeSegments, 3, "the line segment file could not be decoded")                                       \
    X(writeSummary, 5, "the summary could not be written")                                                   \
    X(readSummary, 6, "the summary could not be read or decoded")                                            \
    X(mapIndex, 8, "the time index gave no byte offset for the record")                                      \
    X(decodeShadow, 9, "a status could not be decoded while the statuses were loaded")                       \
    X(writeStatus, 10, "a status could not be written")                                                      \
    X(seekSummary, 11, "the file could not be moved past the summary")                                       \
    X(nullHandle, 12, "the sensor handle is null")                                                           \
    X(wrongSensor, 13, "the handle belongs to another kind of sensor")                                       \
    X(writeTimeIndex, 14, "the time index could not be written")                                             \
    X(seek, 15, "the file could not be positioned or flushed")                                               \
    X(freeSensor, 16, "the handle could not be freed")                                                       \
    X(noSegment, 17, "there is no such line segment")                                                        \
    X(wrongAccess, 18, "the operation is not allowed for the access type of the handle")                     \
    X(outOfRange, 19, "the record number is out of range")                                                   \
    X(decode, 21, "the record could not be decoded")                                                         \
    X(encode, 22, "the record could not be encoded")                                                         \
    X(timeIndexEntry, 23, "the record could not be entered in the time index")                               \
    X(write, 24, "writing to the file failed")                                                               \
    X(read, 25, "reading from the file failed")                                                              \
    X(specific26, 26, "a failure that only this family has")                                                 \
    X(decodeForUpdate, 27, "a record could not be decoded during an update of its profile")                  \
    X(specific28, 28, "a failure that only this family has (a read, for total propagated error)")            \
    X(specific29, 29, "a failure that only this family has (a read, for towed side scan)")                   \
    X(nullSourceName, 30, "the source file name is null")                                                    \
    X(openOther, 31, "a file could not be opened")                                                           \
    X(openNotFound, 32, "a file could not be opened: not found")                                             \
    X(openTooMany, 33, "a file could not be opened: too many open files")                                    \
    X(openDenied, 34, "a file could not be opened: access denied")                                           \
    X(openNoSpace, 35, "a file could not be opened: not enough space (depths: or a source name is null)")    \
    X(rename, 39, "a file of the restored set could not be renamed")

#define SKAR_CODES(X)                                                                                        \
    X(success, 0, "success")                                                                                 \
    X(failed, -1, "a null argument, or a failure without a code")                                            \
    X(vesselFileMissing, 5000006, "the vessel file was not found")                                           \
    X(outOfMemory, 5000009, "out of memory")                                                                 \
    X(attributeNoSpace, 5000014, "an attribute data file could not be opened: not enough disk space")        \
    X(attributeTooMany, 5000015, "an attribute data file could not be opened: too many open files")          \
    X(attributeDenied, 5000016, "an attribute data file could not be opened: access denied")                 \
    X(simpleSensorNull, 5000019, "the handle of the time series is null")                                    \
    X(notInitialised, 5000020, "the library is not initialised; call SKARIO_Init first")                     \
    X(accessTypeMismatch, 5000021, "the access type is not one of create, query and update")                 \
    X(unknownSensor, 5000022, "the sensor id has no file name")                                              \
    X(traceOpen, 5000024, "the side scan trace file could not be opened")                                    \
    X(lineOpen, 5000025, "the line is empty or missing, or its data file could not be opened")               \
    X(attributeFileCreate, 5000026, "an attribute data file could not be created or coded")                  \
    X(dataValidationRead, 5000027, "the validation record of the data file is unreadable or wrong")          \
    X(dataValidationWrite, 5000028, "the validation record of the data file could not be written")           \
    X(segmentValidationRead, 5000029, "the validation record of the segment file is unreadable or wrong")    \
    X(segmentValidationWrite, 5000030, "the validation record of the segment file could not be written")     \
    X(lineCreate, 5000034, "the directories of the line could not be made")                                  \
    X(accessToken, 5000035, "the access token is not valid")                                                 \
    X(recordZero, 5000036, "record number 0 was passed to the time index")                                   \
    X(recordNotIndexed, 5000037, "the record number is not in the time index")                               \
    X(timeIndexOpen, 5000038, "the time index file could not be opened")                                     \
    X(timeIndexRead, 5000039, "the time index file is unreadable or wrong")                                  \
    X(timeIndexWrite, 5000040, "the time index file could not be written")                                   \
    X(sensorMissing, 5000046, "the sensor does not exist in the line")                                       \
    X(attributeRead, 5000058, "a record of an attribute data file could not be read")                        \
    X(attributeWrite, 5000059, "a record of an attribute data file could not be written")                    \
    X(attributeAccess, 5000061, "the operation is not allowed for the access type of the attribute file")    \
    X(attributeTooLate, 5000062, "an attribute was registered after the first record")                       \
    X(attributeMissing, 5000063, "the attribute was not found")                                              \
    X(attributeRecordRange, 5000064, "the record number of an attribute data file is out of range")          \
    X(attributeRecordSize, 5000081, "a record is larger than the largest record of its attribute file")      \
    X(traceClose, 5001726, "the side scan trace file could not be closed")                                   \
    X(processedPingUpdate, 5002327, "a ping is not as its update takes it, or could not be updated")         \
    X(svpDepthPresent, 5016001, "the section has a value at that depth already")                             \
    X(svpNoSectionForValue, 5016002, "there is no section of that time to add a value to")                   \
    X(svpSectionRemoved, 5016003, "the section is removed")                                                  \
    X(svpValueRemoved, 5016004, "the value is removed")                                                      \
    X(svpSectionNotFound, 5016005, "there is no section of that time")                                       \
    X(svpValueNotFound, 5016006, "there is no value at that depth")                                          \
    X(svpTimePresent, 5016007, "there is a section of that time already")                                    \
    X(svpNoSection, 5016008, "there is no section of that time to get or set")                               \
    X(svpNoValidSection, 5016009, "the file holds no valid section, or a section header is bad")             \
    X(svpOpen, 5016011, "the sound velocity file could not be opened")                                       \
    X(svpNullArgument, 5016029, "the directory or the buffer is null")                                       \
    X(smoothingNoFile, 5017100, "the file or directory of the smoothing coefficients is null or missing")    \
    X(smoothingNoSensor, 5017101, "the name of the sensor is null")                                          \
    X(contactOpen, 5024001, "the contact file could not be opened or made")                                  \
    X(contactClose, 5024002, "the contact file could not be closed")                                         \
    X(contactLineTooLong, 5024003, "the line of a contact would have 8192 bytes or more")                    \
    X(registryNoRoot, 5028601, "the project registry has no root element")                                   \
    X(registryWrongRoot, 5028602, "the file is not a project registry")                                      \
    X(registryNoFileName, 5028603, "the project registry has no file name")                                  \
    X(vesselImportUnreadable, 5000401, "the vessel file is no XML, and no legacy vessel text with a navigation entry")\
    X(vesselImportNoNavigation, 5000402, "the legacy vessel text has no list of navigation entries")         \
    X(depthNotConfigured, 5000405, "the vessel has no depth entry in force at that time")                    \
    X(waterlineTooEarly, 5000406, "the time is before the first waterline entry of the vessel")              \
    X(waterlineNotConfigured, 5000407, "the vessel has no waterline entries")                                \
    X(towedNotConfigured, 5000408, "the vessel has no towed sensor entries")                                 \
    X(towedTooEarly, 5000409, "the time is before the first towed sensor entry of the vessel")               \
    X(soundVelocityNotConfigured, 5000410, "the vessel has no sound velocity entries")                       \
    X(soundVelocityTooEarly, 5000411, "the time is before the first sound velocity entry of the vessel")     \
    X(gyroNotConfigured, 5000412, "the vessel has no gyro entries")                                          \
    X(gyroTooEarly, 5000413, "the time is before the first gyro entry of the vessel")                        \
    X(heaveNotConfigured, 5000414, "the vessel has no heave entries")                                        \
    X(heaveTooEarly, 5000415, "the time is before the first heave entry of the vessel")                      \
    X(navigationSensorNotConfigured, 5000416, "the vessel has no navigation entries")                        \
    X(navigationSensorTooEarly, 5000417, "the time is before the first navigation entry of the vessel")      \
    X(pitchNotConfigured, 5000418, "the vessel has no pitch entries")                                        \
    X(pitchTooEarly, 5000419, "the time is before the first pitch entry of the vessel")                      \
    X(rollNotConfigured, 5000420, "the vessel has no roll entries")                                          \
    X(rollTooEarly, 5000421, "the time is before the first roll entry of the vessel")                        \
    X(draftNotConfigured, 5000422, "the vessel has no draft entries")                                        \
    X(draftTooEarly, 5000423, "the time is before the first draft entry of the vessel")                      \
    X(notAVesselFile, 5100001, "the file is not a vessel file: wrong root element or no version")            \
    X(vesselNoFileName, 5100002, "no name was given for the vessel file")                                    \
    X(vesselNoSuchSensor, 5100003, "the vessel has no entries of this kind")                                 \
    X(vesselXmlNode, 5100005, "an XML node or document could not be made")                                   \
    X(vesselTooEarly, 5100006, "the time is before the first entry")                                         \
    X(vesselNullEntry, 5100007, "the entry is null")                                                         \
    X(vesselSameTime, 5100008, "there is an entry with this time stamp")                                     \
    X(vesselEntryMissing, 5100009, "there is no entry with this time stamp")                                 \
    X(vesselTimeText, 5100010, "the text of a time stamp is wrong")                                          \
    X(transducerNumberZero, 5100100, "the number of a transducer is 0")                                      \
    X(transducerNumberMissing, 5100101, "a transducer has no number")                                        \
    X(startBeamZero, 5100102, "the start beam of a transducer is 0")                                         \
    X(sensorClassUnknown, 5100103, "the class of a depth sensor is neither Swath nor Sweep")                 \
    X(withoutCode, 140054, "an exception that carries no code")

#ifdef __cplusplus

namespace skar {

#define SKAR_ENTRY(name, number, meaning) name = number,

/* What happened, counted from the block of the family it happened in. */
enum class Offset : int { SKAR_CODE_OFFSETS(SKAR_ENTRY) };

namespace codes {

enum Block : int { SKAR_CODE_BLOCKS(SKAR_ENTRY) };
#undef SKAR_ENTRY

#define SKAR_ENTRY(name, number, meaning) inline constexpr int name = number;
SKAR_CODES(SKAR_ENTRY)
#undef SKAR_ENTRY

constexpr int operator+(Block block, Offset offset) noexcept {
    return static_cast<int>(block) + static_cast<int>(offset);
}

} // namespace codes
} // namespace skar

#else

#define SKAR_BLOCK_ENTRY(name, number, meaning) SKAR_BLOCK_##name = number,
#define SKAR_OFFSET_ENTRY(name, number, meaning) SKAR_OFFSET_##name = number,
#define SKAR_CODE_ENTRY(name, number, meaning) SKAR_CODE_##name = number,

enum SkarCodeBlock { SKAR_CODE_BLOCKS(SKAR_BLOCK_ENTRY) SKAR_BLOCK_END_ };
enum SkarCodeOffset { SKAR_CODE_OFFSETS(SKAR_OFFSET_ENTRY) SKAR_OFFSET_END_ };
enum SkarCode { SKAR_CODES(SKAR_CODE_ENTRY) SKAR_CODE_END_ };

#undef SKAR_BLOCK_ENTRY
#undef SKAR_OFFSET_ENTRY
#undef SKAR_CODE_ENTRY

#endif

#endif
