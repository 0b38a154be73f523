/* Writes a heading series through the plain functions and reads it back. The argument is an existing folder.
 */
#include <skar/skario.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { recordCount = 5 };

static double headingOf(int record) {
    return 0.5 + 0.01 * record;
}

static int write(const wchar_t* line) {
    uint32_t code = 0;
    if (LineCreateHierarchy(line) != 0) return 1;
    _TELD_Sensor* gyro = GyroOpenDir(line, L"create", &code);
    if (!gyro) return 2;
    if (GyroBgnSeqWriteSummary(gyro) != 0) return 3;
    if (GyroBgnSeqWriteLineSegment(gyro, L"compass.raw") != 0) return 4;
    for (int i = 1; i <= recordCount; ++i)
        if (GyroSeqWrite(gyro, 1.0e8 + i, headingOf(i), 0) != 0) return 5;
    if (GyroEndSeqWriteLineSegment(gyro, 0) != 0) return 6;
    if (GyroEndSeqWriteSummary(gyro, 0) != 0) return 7;
    return GyroClose(gyro) == 0 ? 0 : 8;
}

static int read(const wchar_t* line) {
    uint32_t code = 0, records = 0, segments = 0, status = 0;
    double minTime, maxTime, minValue, maxValue;
    _TELD_Sensor* gyro = GyroOpenDir(line, L"query", &code);
    if (!gyro) return 11;
    if (GyroSummary(gyro, &segments, &records, &minTime, &maxTime, &minValue, &maxValue, &status) != 0)
        return 12;
    if (segments != 1 || records != recordCount) return 13;
    for (uint32_t i = 1; i <= records; ++i) {
        double time = 0, heading = 0;
        if (GyroRead(gyro, i, &time, &heading, &status) != 0) return 14;
        if (fabs(time - (1.0e8 + i)) > 0.0005 || fabs(heading - headingOf((int)i)) > 0.5e-7) return 15;
    }
    return GyroClose(gyro) == 0 ? 0 : 16;
}

int main(int argc, char** argv) {
    wchar_t line[4096];
    int result;
    if (argc != 2) return 2;
    if (swprintf(line, sizeof line / sizeof *line, L"%s/Survey/Vessel/2024-001/Line1", argv[1]) < 0) return 2;
    if (SKARIO_Init(0) != 0) return 20;
    result = write(line);
    if (result == 0) result = read(line);
    if (result != 0) fprintf(stderr, "step %d failed\n", result);
    return result;
}
