#pragma once

#include <skar/export.h>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// The strings and containers of the class interface. None of them may be changed by two threads at once, and
// a conversion of a const string counts as a change, because it fills the string's cache.
namespace MORVAPP {

// Root of the classes that can say what they are.
class SKAR_API MORVAObject {
public:
    MORVAObject() = default;
    MORVAObject(const MORVAObject&) = default;
    MORVAObject(MORVAObject&&) = default;
    MORVAObject& operator=(const MORVAObject&) = default;
    MORVAObject& operator=(MORVAObject&&) = default;
    virtual ~MORVAObject();

    // The object as a line for diagnostics: <MORVAObject typeid="the type's name"/> and a newline.
    virtual std::string toText() const;
};

// A text of UTF-16 code units. Indexes and lengths count code units. Wide text is the platform's wchar_t; a
// lone surrogate and an embedded zero are kept, a value that is no code point becomes U+FFFD. Narrow text is
// UTF-8 where no code page is named, whatever the locale of the process; what UTF-8 cannot hold becomes
// U+FFFD there.
class SKAR_API MORVAUString {
public:
    class Converter;

    MORVAUString() noexcept;
    // Copies up to the terminator; a null text gives an empty string.
    MORVAUString(const wchar_t* text);
    // Copies `length` characters, zeros included; a null text or a length below 1 gives an empty string.
    MORVAUString(const wchar_t* text, std::int32_t length);
    // Narrow text up to its terminator in the code page, null for the default one. A null text or a code page
    // that does not exist gives an empty string.
    explicit MORVAUString(const char* text, const char* codePage = nullptr);
    // `length` bytes, zeros included.
    MORVAUString(const char* bytes, std::int32_t length, const Converter& converter);
    explicit MORVAUString(const icu::UnicodeString& text);
    MORVAUString(const MORVAUString& other);
    MORVAUString(MORVAUString&& other) noexcept;
    MORVAUString& operator=(const MORVAUString& other);
    MORVAUString& operator=(MORVAUString&& other) noexcept;
    // A null text empties the string.
    MORVAUString& operator=(const wchar_t* text);
    ~MORVAUString();

    // Wide, narrow and UTF-8 text with a terminator, owned by the string and valid while it is not changed.
    const wchar_t* getTerminatedBuffer() const;
    const char* getNarrowBuffer() const;
    const char* getUTF8Buffer() const;
    // The same as values of their own; zeros inside the text are kept.
    std::wstring toWide() const;
    std::string toUTF8() const;
    const icu::UnicodeString& unicode() const noexcept { return units; }

    std::int32_t length() const noexcept { return units.length(); }
    bool isEmpty() const noexcept { return units.isEmpty(); }
    // Index of the last occurrence, -1 without one.
    std::int32_t lastIndexOf(wchar_t character) const;
    bool endsWith(wchar_t character) const;
    bool endsWith(const MORVAUString& end) const;
    bool startsWith(wchar_t character) const;
    bool startsWith(const MORVAUString& start) const;
    // The code unit at an index, U+FFFF outside the string.
    char16_t charAt(std::int32_t index) const { return units.charAt(index); }
    // Puts a stretch into `target`; what lies outside the string is left out.
    void extract(std::int32_t start, std::int32_t length, MORVAUString& target) const;
    // Cuts the string to at most `length` units; true if something was cut.
    bool truncate(std::int32_t length);
    MORVAUString& remove(std::int32_t start, std::int32_t length);
    MORVAUString& findAndReplace(wchar_t oldCharacter, wchar_t newCharacter);

    MORVAUString& operator+=(const MORVAUString& more);
    MORVAUString& operator+=(wchar_t character);
    friend MORVAUString operator+(const MORVAUString& left, const MORVAUString& right) {
        MORVAUString sum(left);
        sum += right;
        return sum;
    }

    // By code units, the shorter first where one begins the other.
    std::strong_ordering compare(const MORVAUString& other) const noexcept;
    friend bool operator==(const MORVAUString& left, const MORVAUString& right) noexcept {
        return left.units == right.units;
    }
    friend std::strong_ordering operator<=>(const MORVAUString& left, const MORVAUString& right) noexcept {
        return left.compare(right);
    }

private:
    struct Cache;
    void changed() noexcept;
    Cache& cached() const;

    icu::UnicodeString units;
    mutable std::unique_ptr<Cache> cache;
};

// Writes the text as UTF-8.
SKAR_API std::ostream& operator<<(std::ostream& out, const MORVAUString& text);

// An open converter of a named code page, null for the default one. Serves one thread at a time.
class SKAR_API MORVAUString::Converter {
public:
    explicit Converter(const char* codePage = nullptr);
    Converter(Converter&& other) noexcept;
    Converter& operator=(Converter&& other) noexcept;
    ~Converter();

    // False if there is no such code page; every conversion gives an empty text then.
    bool isValid() const noexcept { return converter != nullptr; }
    // Null if the converter is not valid. Stays the property of this object.
    UConverter* get() const noexcept { return converter; }

private:
    UConverter* converter;
};

// An ordered list of values, linked one way: appending and walking from the head cost nothing extra.
template <class T>
class MORVASList {
public:
    using value_type = T;
    using iterator = typename std::forward_list<T>::iterator;
    using const_iterator = typename std::forward_list<T>::const_iterator;

    MORVASList() : tail(values.before_begin()) {}
    MORVASList(std::initializer_list<T> items) : MORVASList() {
        for (const T& item : items)
            append(item);
    }
    MORVASList(const MORVASList& other) requires std::is_copy_constructible_v<T> : MORVASList() {
        for (const T& value : other)
            append(value);
    }
    MORVASList(MORVASList&& other) noexcept : MORVASList() { swap(other); }
    MORVASList& operator=(const MORVASList& other) requires std::is_copy_constructible_v<T> {
        MORVASList copy(other);
        swap(copy);
        return *this;
    }
    MORVASList& operator=(MORVASList&& other) noexcept {
        MORVASList moved(std::move(other));
        swap(moved);
        return *this;
    }
    ~MORVASList() = default;

    T& append(const T& value) { return emplace(value); }
    T& append(T&& value) { return emplace(std::move(value)); }
    template <class... Arguments>
    T& emplace(Arguments&&... arguments) {
        tail = values.emplace_after(tail, std::forward<Arguments>(arguments)...);
        ++number;
        return *tail;
    }
    // Puts a value before the first element that `before` holds for, else at the end.
    template <class Predicate>
    T& insertBefore(Predicate before, T&& value) {
        iterator previous = values.before_begin();
        for (iterator next = values.begin(); next != values.end() && !before(std::as_const(*next)); ++next)
            ++previous;
        const iterator made = values.emplace_after(previous, std::move(value));
        if (previous == tail) tail = made;
        ++number;
        return *made;
    }
    // Takes every element out that `which` holds for and says how many those were.
    template <class Predicate>
    std::size_t removeIf(Predicate which) {
        std::size_t removed = 0;
        iterator previous = values.before_begin();
        for (iterator next = values.begin(); next != values.end();) {
            if (which(std::as_const(*next))) {
                next = values.erase_after(previous);
                ++removed;
            } else {
                previous = next++;
            }
        }
        tail = previous;
        number -= removed;
        return removed;
    }
    void clear() noexcept {
        values.clear();
        tail = values.before_begin();
        number = 0;
    }

    std::size_t count() const noexcept { return number; }
    bool isEmpty() const noexcept { return number == 0; }
    // The ends of the list, null when it is empty.
    T* head() noexcept { return isEmpty() ? nullptr : &values.front(); }
    const T* head() const noexcept { return isEmpty() ? nullptr : &values.front(); }
    T* last() noexcept { return isEmpty() ? nullptr : &*tail; }
    const T* last() const noexcept { return isEmpty() ? nullptr : &*tail; }

    iterator begin() noexcept { return values.begin(); }
    iterator end() noexcept { return values.end(); }
    const_iterator begin() const noexcept { return values.begin(); }
    const_iterator end() const noexcept { return values.end(); }

private:
    // The place before the first element belongs to the list object itself and does not move along.
    void swap(MORVASList& other) noexcept {
        values.swap(other.values);
        std::swap(tail, other.tail);
        std::swap(number, other.number);
        if (isEmpty()) tail = values.before_begin();
        if (other.isEmpty()) other.tail = other.values.before_begin();
    }

    std::forward_list<T> values;
    iterator tail;
    std::size_t number = 0;
};

// A growable array. An index beyond the count throws std::out_of_range.
template <class T>
class MORVAArray {
public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    MORVAArray() = default;
    MORVAArray(std::initializer_list<T> items) { copyExactly(items); }
    // Allocates for exactly the count of the other and copies each element.
    MORVAArray(const MORVAArray& other) { copyExactly(other); }
    MORVAArray(MORVAArray&&) noexcept = default;
    MORVAArray& operator=(const MORVAArray& other) {
        MORVAArray copy(other);
        values.swap(copy.values);
        return *this;
    }
    MORVAArray& operator=(MORVAArray&&) noexcept = default;
    ~MORVAArray() = default;

    std::size_t count() const noexcept { return values.size(); }
    std::size_t capacity() const noexcept { return values.capacity(); }
    bool isEmpty() const noexcept { return values.empty(); }
    T& operator[](std::size_t index) { return values.at(index); }
    const T& operator[](std::size_t index) const { return values.at(index); }
    T* data() noexcept { return values.data(); }
    const T* data() const noexcept { return values.data(); }

    T& append(T value) { return values.emplace_back(std::move(value)); }
    // Elements that are added hold T's default value.
    void resize(std::size_t count) { values.resize(count); }
    void reserve(std::size_t capacity) { values.reserve(capacity); }
    void remove(std::size_t index) {
        static_cast<void>(values.at(index));
        values.erase(values.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void clear() noexcept { values.clear(); }

    iterator begin() noexcept { return values.begin(); }
    iterator end() noexcept { return values.end(); }
    const_iterator begin() const noexcept { return values.begin(); }
    const_iterator end() const noexcept { return values.end(); }

private:
    template <class Range>
    void copyExactly(const Range& range) {
        values.reserve(static_cast<std::size_t>(std::distance(range.begin(), range.end())));
        values.insert(values.end(), range.begin(), range.end());
    }

    std::vector<T> values;
};

// An owning handle that lets objects of a class stand in a list. Copying it moves the object out of the
// source, which is null from then on.
template <class T>
class MORVAType : public MORVAObject {
public:
    MORVAType() = default;
    explicit MORVAType(T* owned) : object(owned) {}
    MORVAType(std::unique_ptr<T> owned) : object(std::move(owned)) {}
    MORVAType(MORVAType& source) noexcept : MORVAObject(), object(std::move(source.object)) {}
    MORVAType(MORVAType&& source) noexcept : MORVAObject(), object(std::move(source.object)) {}
    MORVAType& operator=(MORVAType& source) noexcept {
        object = std::move(source.object);
        return *this;
    }
    MORVAType& operator=(MORVAType&& source) noexcept {
        object = std::move(source.object);
        return *this;
    }
    ~MORVAType() override = default;

    T* get() const noexcept { return object.get(); }
    T& operator*() const noexcept { return *object; }
    T* operator->() const noexcept { return object.get(); }
    bool isNull() const noexcept { return object == nullptr; }
    explicit operator bool() const noexcept { return object != nullptr; }
    // Gives the object up to the caller, who deletes it.
    T* release() noexcept { return object.release(); }

private:
    std::unique_ptr<T> object;
};

} // namespace MORVAPP

using MORVAPP::MORVAArray;
using MORVAPP::MORVAObject;
using MORVAPP::MORVASList;
using MORVAPP::MORVAType;
using MORVAPP::MORVAUString;

namespace SKAR::Temporary {

// The string that goes from one module to another where a std::string must not. Nulls give empty strings.
class SKAR_API String : public MORVAUString {
public:
    String() = default;
    String(const MORVAUString& text);
    // UTF-8, zeros included.
    String(const std::string& text);
    String(const char* text);
    String(const char* text, const char* codePage);
    explicit String(wchar_t character);
    String(const wchar_t* text);
    String(const wchar_t* text, std::int32_t length);
    String(const MORVAArray<char>& bytes, const char* codePage);
    String(const char* bytes, std::int32_t length, const Converter& converter);
    String(const icu::UnicodeString& text);

    operator std::string() const { return toUTF8(); }
    operator std::wstring() const { return toWide(); }
};

} // namespace SKAR::Temporary
