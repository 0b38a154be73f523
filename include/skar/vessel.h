#pragma once

#include <skar/export.h>
#include <skar/strings.h>
#include <skar/xml.h>

#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

// The configuration of a vessel: its outline and, for each kind of sensor, entries that are in force from
// their time stamp on, until the next one. Times are seconds since 1980, leap seconds included. Files are
// XML; what the library does not know in them survives loading and storing. Plain results are 0, a code, or
// -1. A vessel and what belongs to it serve one thread at a time.

// One entry: what holds for a sensor from a time on. The element that it was loaded from stays the
// document's.
class SKAR_API SKARVesselSensorConfig {
public:
    SKARVesselSensorConfig(const SKARVesselSensorConfig&) = delete;
    SKARVesselSensorConfig& operator=(const SKARVesselSensorConfig&) = delete;
    virtual ~SKARVesselSensorConfig();

    // Takes the entry from its element, which must outlive it. -1 without the attribute "value", 5100010 for
    // one that is no time.
    virtual long load(xmlNode* element);
    // Brings the entry's element up to date, making one below the parent if there is none in the parent's
    // document. -1 if that fails, or if the time has no calendar date.
    virtual long store(xmlNode* parentList);

    // Texts belong to the entry; null if there is none. Seconds.
    const wchar_t* getName() const noexcept { return name.c_str(); }
    const wchar_t* getComment() const noexcept { return comment ? comment->c_str() : nullptr; }
    const wchar_t* getAuthorization() const noexcept {
        return authorization ? authorization->c_str() : nullptr;
    }
    double getTimeStamp() const noexcept { return timeStamp; }
    double getLatency() const noexcept { return latency; }

    // Copies the text; null clears it. Returns 0.
    long setComment(const wchar_t* text);
    long setAuthorization(const wchar_t* text);
    long setLatency(double seconds);

    // The time of a text such as "2012-183 07:05:09": year, day of the year, hour, minute, second; more
    // behind it is passed over. 5100010, and a message on the standard output, for anything else.
    static long decodeTime(const char* text, double& seconds);

protected:
    SKARVesselSensorConfig(const wchar_t* kind, double time);
    void setTimeStamp(double time) noexcept;
    xmlNode* getElement() const noexcept { return element; }
    // The attribute of a child element as a text of the caller's, to be deleted with delete[]; null without
    // child or attribute.
    static wchar_t* readStringAttributeFromChild(xmlNode* parent, const wchar_t* child,
                                                 const wchar_t* attribute);

private:
    friend class SKARVesselSensorList;
    struct Table;

    double timeStamp;
    double latency = 0;
    std::wstring name;
    std::optional<std::wstring> comment;
    std::optional<std::wstring> authorization;
    xmlNode* element = nullptr;
    // Whether the element's text stands for timeStamp: such a text is left as it was written.
    bool textStands = false;
};

// The entries of one kind in the order of time, no two at the same.
class SKAR_API SKARVesselSensorList {
public:
    SKARVesselSensorList();
    ~SKARVesselSensorList();
    SKARVesselSensorList(const SKARVesselSensorList&) = delete;
    SKARVesselSensorList& operator=(const SKARVesselSensorList&) = delete;

    // The last entry at or before the time. Null with status 5100006 if the first is later; null with status
    // 0 for an empty list.
    const SKARVesselSensorConfig* getConfig(double time, long& status) const;
    const SKARVesselSensorConfig* getFirstConfig() const;
    const SKARVesselSensorConfig* getLastConfig() const;
    // The entry behind another one; null for null, the last one and one that is not in the list.
    const SKARVesselSensorConfig* getNextConfig(const SKARVesselSensorConfig* entry) const;
    std::size_t getCount() const noexcept { return entries.count(); }
    bool empty() const noexcept { return entries.isEmpty(); }

    // Moves the entry into the list. 5100007 for null; 5100008, and the entry stays the caller's, if there is
    // one at its time.
    long add(MORVAType<SKARVesselSensorConfig>& entry);
    // Destroys the entry at exactly this time, 5100009 without one. Its element stays in the document.
    long remove(double time);
    // Moves an entry to another time. -1 for null, 5100009 without an entry at its time. Where there is one
    // at the new time, the moved entry is destroyed and 0 returned.
    long updateTimeStamp(const SKARVesselSensorConfig* entry, double newTime);

    // Adds the entries below an element whose name is that of a kind; a time that came before is dropped. The
    // code of an entry that cannot be loaded ends it.
    long load(xmlNode* listElement);
    // Stores every entry below the list's element, which is made if need be: 5100005 if it cannot be. Nothing
    // for an empty list.
    long store(xmlNode* root);

private:
    struct Place {
        double time;
        const SKARVesselSensorConfig* entry;
    };
    const std::vector<Place>& places() const;

    MORVASList<MORVAType<SKARVesselSensorConfig>> entries;
    xmlNode* element = nullptr;
    // The entries once more, for looking up; made anew at the first look after a change.
    mutable std::vector<Place> inOrder;
    mutable bool inOrderStands = true;
    // Where the walk from entry to entry has come to.
    mutable std::size_t walked = 0;
};

// Places in the file that hold nothing yet. Loading and storing return 0.
class SKAR_API SKARVesselMetaData {
public:
    SKARVesselMetaData();
    ~SKARVesselMetaData();
    long load(xmlNode* element);
    long store(xmlNode* root);
};

class SKAR_API SKARVesselEditHistory {
public:
    SKARVesselEditHistory();
    ~SKARVesselEditHistory();
    long load(xmlNode* element);
    long store(xmlNode* root);
};

// The outline of the vessel, in metres.
class SKAR_API SKARVesselShape {
public:
    using Coordinates = MORVASList<MORVAArray<double>>;

    SKARVesselShape();
    SKARVesselShape(const SKARVesselShape& other);
    const SKARVesselShape& operator=(const SKARVesselShape& other);
    ~SKARVesselShape();

    // Points as arrays of two: X, Y seen from above, Y, Z seen from the side.
    const Coordinates& getPlanViewCoords() const noexcept { return plan; }
    const Coordinates& getProfileViewCoords() const noexcept { return profile; }
    void addPlanViewCoord(double x, double y);
    void addProfileViewCoord(double y, double z);
    void clearPlanViewCoords();
    void clearProfileViewCoords();
    void setRP(double length, double width, double height);
    void getRP(double& length, double& width, double& height) const;

    // Adds the points of the element to those that are there. Returns 0.
    long load(xmlNode* element);
    // Writes points and reference point anew. -1 if an element cannot be made.
    long store(xmlNode* root);

private:
    double rpLength = 0;
    double rpWidth = 0;
    double rpHeight = 0;
    Coordinates plan;
    Coordinates profile;
};

class SKAR_API SKARVessel {
public:
    using Sensors = MORVASList<MORVAType<SKARVesselSensorList>>;

    SKARVessel();
    // Reads a file; the status is that of setFileName, else that of reload. A vessel whose file could not be
    // read is there all the same.
    SKARVessel(const wchar_t* fileName, long& status);
    // Takes the lists out of the source, which has none from then on, and shares its document.
    SKARVessel(const SKARVessel& source);
    SKARVessel& operator=(const SKARVessel&) = delete;
    ~SKARVessel();

    static const wchar_t* getDefaultExtension() noexcept { return L".skv"; }

    // Names the file, with ".skv" behind a name that has another extension or none. `forget` lets go of the
    // document: the next store makes a new one. 5100002 for null.
    long setFileName(const wchar_t* name, bool forget);
    const wchar_t* getFileName() const noexcept { return fileName ? fileName->c_str() : nullptr; }
    float getFileVersion() const noexcept { return version; }
    // True from a change or a successful store until the next reading.
    bool isModified() const noexcept { return modified; }

    // Reads the file again: lists are replaced, the points of the shape are added to those that are there. 0,
    // 5100001 for XML that is no vessel, 5000401 for what is neither XML nor a legacy text, or the code of
    // what stopped it.
    long reload();
    // Writes the document, made up to date. 0, 5100005 without memory, -1 if the file could not be written;
    // one that was there before is then as it was.
    long store();

    const Sensors& getSensors() const noexcept { return sensors; }
    SKARVesselEditHistory& getEditHistory() noexcept { return editHistory; }
    SKARVesselMetaData& getMetaData() noexcept { return metaData; }
    SKARVesselShape& getVesselShape() noexcept { return shape; }
    // Copies the shape.
    void setVesselShape(SKARVesselShape& newer);

    // The entry in force at a time, by the name of its kind or by its class. Null with status 5100003 if
    // there is none of the kind, 5100006 if the first is later.
    const SKARVesselSensorConfig* getSensor(const wchar_t* name, double time, long& status) const;
    const SKARVesselSensorConfig* getSensor(const std::type_info& type, double time, long& status) const;
    // Null with status 0 if there is none of the kind.
    const SKARVesselSensorConfig* getFirstSensor(const wchar_t* name, long& status) const;
    const SKARVesselSensorConfig* getFirstSensor(const std::type_info& type, long& status) const;
    const SKARVesselSensorConfig* getLastSensor(const wchar_t* name, long& status) const;
    const SKARVesselSensorConfig* getLastSensor(const std::type_info& type, long& status) const;
    const SKARVesselSensorList* getSensorList(const std::type_info& type) const;

    // Moves the entry into the list of its kind. Null is accepted; 5100008 if there is one at its time.
    long addSensor(MORVAType<SKARVesselSensorConfig>& entry);
    // Destroys the entry at exactly this time: 5100003 without one of the kind, 5100009 without one then. The
    // list goes with its last entry.
    long removeSensor(double time, const wchar_t* name);
    long removeSensor(double time, const std::type_info& type);
    // Removes the list of a kind, -1 without one; all lists for a null name.
    long removeAllSensors(const wchar_t* name);
    long removeAllSensors(const std::type_info& type);

private:
    long read();
    long readRoot();
    long readVersion1(const std::wstring& name);
    template <class Kind>
    SKARVesselSensorList* findSensorList(const Kind& kind) const;
    template <class Kind>
    long removeFrom(double time, const Kind& kind);
    template <class Kind>
    long removeList(const Kind& kind);
    void insertList(MORVAType<SKARVesselSensorList>&& list);

    std::optional<std::wstring> fileName;
    SKARVesselMetaData metaData;
    SKARVesselEditHistory editHistory;
    SKARVesselShape shape;
    // Documents come before the lists, whose entries point into them: also into those that were let go of.
    std::vector<std::shared_ptr<xmlDoc>> forgotten;
    std::shared_ptr<xmlDoc> document;
    mutable Sensors sensors;
    float version = 2.0F;
    bool modified = false;
};
