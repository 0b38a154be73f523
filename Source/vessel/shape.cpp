#include "xml/nodes.h"
#include "xml/numbertext.h"

#include <skar/vessel.h>

#include <libxml/tree.h>

namespace {

using Coordinates = SKARVesselShape::Coordinates;

// One of the two views: its element, the attributes of a point.
struct View {
    const char* element;
    const char* first;
    const char* second;
};

constexpr View planView{"PlanCoordinates", "X", "Y"};
constexpr View profileView{"ProfileCoordinates", "Y", "Z"};

double number(const xmlNode* element, const char* name) {
    return skar::xml::numberOf(skar::xml::attribute(element, name).value_or(std::string()));
}

bool load(const xmlNode* shape, const View& view, Coordinates& points) {
    const xmlNode* list = skar::xml::child(shape, view.element);
    if (list == nullptr) return false;
    for (const xmlNode* entry = skar::xml::firstElement(list); entry != nullptr;
         entry = skar::xml::nextElement(entry)) {
        if (skar::xml::hasAttribute(entry, view.first) && skar::xml::hasAttribute(entry, view.second)) {
            points.append({number(entry, view.first), number(entry, view.second)});
        }
    }
    return true;
}

bool store(xmlNode* shape, const View& view, const Coordinates& points) {
    skar::xml::deleteChildren(shape, view.element);
    xmlNode* list = skar::xml::newChild(shape, view.element);
    if (list == nullptr) return false;
    for (const MORVAArray<double>& point : points) {
        xmlNode* entry = skar::xml::newChild(list, "Entry");
        if (entry == nullptr) return false;
        skar::xml::setAttribute(entry, view.first, point[0]);
        skar::xml::setAttribute(entry, view.second, point[1]);
    }
    return true;
}

} // namespace

SKARVesselShape::SKARVesselShape() = default;
SKARVesselShape::SKARVesselShape(const SKARVesselShape& other) = default;
SKARVesselShape::~SKARVesselShape() = default;

const SKARVesselShape& SKARVesselShape::operator=(const SKARVesselShape& other) {
    setRP(other.rpLength, other.rpWidth, other.rpHeight);
    plan = other.plan;
    profile = other.profile;
    return *this;
}

void SKARVesselShape::addPlanViewCoord(double x, double y) {
    plan.append({x, y});
}

void SKARVesselShape::addProfileViewCoord(double y, double z) {
    profile.append({y, z});
}

void SKARVesselShape::clearPlanViewCoords() {
    plan.clear();
}

void SKARVesselShape::clearProfileViewCoords() {
    profile.clear();
}

void SKARVesselShape::setRP(double length, double width, double height) {
    rpLength = length;
    rpWidth = width;
    rpHeight = height;
}

void SKARVesselShape::getRP(double& length, double& width, double& height) const {
    length = rpLength;
    width = rpWidth;
    height = rpHeight;
}

long SKARVesselShape::load(xmlNode* element) {
    // Without one of the views all that is read after it is passed over.
    if (!::load(element, planView, plan) || !::load(element, profileView, profile)) return 0;
    for (const xmlNode* each = skar::xml::firstElement(element); each != nullptr;
         each = skar::xml::nextElement(each)) {
        if (skar::xml::hasAttribute(each, "Length") && skar::xml::hasAttribute(each, "Width") &&
            skar::xml::hasAttribute(each, "Height")) {
            setRP(number(each, "Length"), number(each, "Width"), number(each, "Height"));
            break;
        }
    }
    return 0;
}

long SKARVesselShape::store(xmlNode* root) {
    xmlNode* shape = skar::xml::childOrNew(root, "VesselShape");
    if (shape == nullptr || !::store(shape, planView, plan) || !::store(shape, profileView, profile))
        return -1;
    skar::xml::deleteChildren(shape, "RP");
    if (xmlNode* point = skar::xml::newChild(shape, "RP")) {
        skar::xml::setAttribute(point, "Length", rpLength);
        skar::xml::setAttribute(point, "Width", rpWidth);
        skar::xml::setAttribute(point, "Height", rpHeight);
    }
    return 0;
}
