#include "tools/toolkit/toolkit_bridge.h"

#include <exception>
#include <istream>
#include <ostream>
#include <unordered_map>

#include "foundation/json.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using OperationIndex = std::unordered_map<std::string_view, const Operation*>;

OperationIndex indexOfOperations() {
    OperationIndex index;
    for (const auto table :
         {scannerOperations, attributeOperations, entityOperations, queryOperations,
          strippingOperations, plainTextOperations, errorPageOperations, webArchiveOperations,
          articleOperations, characterOperations, characterSetOperations, addressOperations,
          urlSimplificationOperations, dateOperations, resourceForkOperations, feedOperations,
          imageOperations, settingOperations}) {
        for (const Operation& operation : table()) index.emplace(operation.name, &operation);
    }
    return index;
}

const Operation* operationNamed(std::string_view name) {
    static const OperationIndex index = indexOfOperations();
    const auto found = index.find(name);
    return found == index.end() ? nullptr : found->second;
}

std::string written(const PropertyList& id, std::u16string_view key, PropertyList value,
                    Dictionary out = {}, Array log = {}) {
    Dictionary reply{{u"id", id}, {key.data(), std::move(value)}};
    if (!out.empty()) reply.set(u"out", std::move(out));
    if (!log.empty()) reply.set(u"log", std::move(log));
    return jsonOf(reply, {.plainDictionaries = true});
}

std::string error(const PropertyList& id, std::string_view message) {
    return written(id, u"error", fromUtf8(message));
}

// The receiver, if the operation has one, and the arguments. False when "self" or "args" is what
// no operation of the kind takes.
bool takeValues(Dictionary& request, bool hasReceiver, Array& values) {
    PropertyList* self = request.find(u"self");
    if (hasReceiver) {
        values.push_back(self ? std::move(*self) : PropertyList());
    } else if (self && !self->isNull()) {
        return false;
    }
    PropertyList* arguments = request.find(u"args");
    if (!arguments || arguments->isNull()) return true;
    if (!arguments->array()) return false;
    for (PropertyList& argument : *arguments->array()) values.push_back(std::move(argument));
    return true;
}

}  // namespace

std::string replyToRequest(std::string_view line) {
    auto json = propertyListOfJson(line);
    Dictionary* request = json ? json->dictionary() : nullptr;
    if (!request) return error(Null(), json ? "not a request" : "not JSON");
    const PropertyList* givenId = request->find(u"id");
    const PropertyList id = givenId ? *givenId : PropertyList();
    const PropertyList* op = request->find(u"op");
    if (!op || !op->string()) return error(id, "no operation is named");
    const std::string name = toUtf8(*op->string());
    const Operation* operation = operationNamed(name);
    if (!operation) return error(id, "unknown operation: " + name);

    const LogCapture log;
    Array values;
    std::optional<Reply> reply;
    try {
        if (takeValues(*request, operation->hasReceiver, values)) reply = operation->call(values);
    } catch (const std::exception& exception) {
        return error(id, name + ": " + exception.what());
    }
    if (!reply) return error(id, name + " takes " + operation->signature());
    Array lines;
    for (const std::u16string& entry : log.entries()) lines.emplace_back(entry);
    return written(id, u"result", std::move(reply->result), std::move(reply->out),
                   std::move(lines));
}

void runToolkitBridge(std::istream& in, std::ostream& out) {
    for (std::string line; std::getline(in, line);)
        out << replyToRequest(line) << '\n' << std::flush;
}

}  // namespace corvy::tools
