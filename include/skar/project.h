#pragma once

#include <skar/strings.h>

#include <cstdint>
#include <map>

namespace SKAR::Project {

// A user's table of project labels and their directories, kept in an XML file that several programs share.
// The one instance of the process notices when another program has changed the file. Callers on several
// threads take turns.
class SKAR_API PathRegistry {
public:
    using Paths = std::map<MORVAUString, MORVAUString>;

    // An empty table; nothing is read yet.
    explicit PathRegistry(const MORVAUString& file);

    // The instance of the process. If its file was changed since it was loaded it is loaded again, and
    // changes that were not saved are lost. Without a loadInstance before it has no file and no entries.
    static PathRegistry& getInstance();
    // Replaces the instance by one of this file, which ends every reference to the one before, and returns
    // what load() gives.
    static long loadInstance(const MORVAUString& file);

    // Replaces the table by that of the file. 0, also with an empty table for a file that is missing or no
    // XML; 5028601 for one without a root, 5028602 for one with another root, and the table is empty.
    long load();
    // Writes the table, under a new name if one is given, which then becomes the registry's. What else the
    // file holds stays in it. Returns the number of bytes written; -1 if it could not be written, 5028603
    // without a name, 5028601 and 5028602 as for load(), each with the file as it was.
    long save(const MORVAUString* newName);

    // Sets or replaces the path of a label.
    void add(const MORVAUString& label, const MORVAUString& path);
    // False without such a label.
    bool remove(const MORVAUString& label);
    // Gives the path of one label to another, in place of the path that had. False without the old label.
    bool rename(const MORVAUString& oldLabel, const MORVAUString& newLabel);
    void setPaths(const Paths& table) { paths = table; }
    const Paths& getPaths() const { return paths; }
    const MORVAUString& getFileName() const { return fileName; }

private:
    void checkForExternalMod();

    Paths paths;
    MORVAUString fileName;
    std::int64_t lastModification = 0;
};

} // namespace SKAR::Project
