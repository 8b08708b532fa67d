// zovtool inspect: a captured HTTP response, decoded the way the agent decodes
// it, printed as text or as JSON. Both renderings come from one JSON model.
#include <sys/stat.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "Capture.h"
#include "Logging.h"
#include "Tool.h"
#include "ZovCommon.hpp"

namespace zovtool {

namespace {

using Json = nlohmann::ordered_json;

// Trees deeper than this are cut in the output (the library handles any depth).
constexpr int kMaxPrintedDepth = 100;

std::string dump(const Json &value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json optionalText(const char *text) { return text ? Json(text) : Json(nullptr); }

Json nodeJson(const ZovNode *node, int depth) {
    Json out = {{"name", optionalText(node->name)}, {"contents", optionalText(node->contents)}};
    if (node->subNode == nullptr) return out;
    if (depth >= kMaxPrintedDepth) {
        out["truncated"] = true;
        return out;
    }
    Json children = Json::array();
    for (const ZovNode *child = node->subNode; child; child = child->nextNode)
        children.push_back(nodeJson(child, depth + 1));
    out["children"] = std::move(children);
    return out;
}

Json headersJson(const HttpHeader *list) {
    Json out = Json::array();
    for (; list; list = list->next) out.push_back({{"name", list->name}, {"value", list->value}});
    return out;
}

// The word of an enumeration value, when it has one (0 has none in several).
template <typename ToString>
Json word(int32_t value, ToString toString, bool zeroHasWord = false) {
    if (value == 0 && !zeroHasWord) return nullptr;
    return optionalText(toString(value));
}

template <typename Entry, typename Field>
Json textList(const Entry *entry, Field field) {
    Json out = Json::array();
    for (; entry; entry = entry->next) out.push_back(field(entry));
    return out;
}

Json platformJson(const PlatformData &data) {
    Json adapters = Json::array();
    for (const NetworkInterfaceStruct *a = data.networkInterfaces; a; a = a->next) {
        Json profiles = Json::array();
        for (const WirelessSettingsStruct *p = a->wirelessProfiles; p; p = p->next) {
            profiles.push_back({
                {"ssid", p->ssid},
                {"authentication", word(p->authentication, wirelessEnetAuthenticationTypeToString)},
                {"encryption", word(p->encryption, wirelessEnetEncryptionTypeToString)},
                {"wepKeys", textList(p->wepKeys, [](const WepKeyStruct *k) { return Json(k->key); })},
            });
        }
        auto ipValue = [](const IpValueStruct *v) { return Json(v->value); };
        adapters.push_back({
            {"macAddress", a->macAddress},
            {"wolEnabled", a->wolEnabled != 0},
            {"addressAssignment", word(a->addressAssignment, addressAssignmentTypeToString)},
            {"ipAddress", a->ipAddress},
            {"subnetMask", a->subnetMask},
            {"gateway", a->gateway},
            {"dnsDynamic", a->dnsDynamic != 0},
            {"dnsSuffixes", textList(a->dnsSuffixes, [](const DnsSuffixStruct *s) { return Json(s->suffix); })},
            {"dnsServers", textList(a->dnsServers, ipValue)},
            {"winsDynamic", a->winsDynamic != 0},
            {"winsServers", textList(a->winsServers, ipValue)},
            {"speed", word(a->speed, speedTypeToString, true)},
            {"duplex", word(a->duplex, duplexTypeToString, true)},
            {"wirelessProfiles", std::move(profiles)},
        });
    }
    return {
        {"hostNameType", word(data.hostNameType, hostNameAssignmentTypeToString)},
        {"hostName", data.hostName},
        {"locale", data.locale},
        {"networkInterfaces", std::move(adapters)},
        {"assetTags", textList(data.assetTags, [](const PairStruct *p) {
             return Json{{"key", p->key}, {"value", p->value}};
         })},
    };
}

// A command that carries a device configuration also gets its platform data,
// or the library's reports that explain why the configuration was refused.
void addConfiguration(Json &record, ZovCommandStruct &command) {
    if (getSubNodeByName(command.rootNode, "deviceConfiguration") == nullptr) return;
    ReportCapture reports;
    zov::PlatformDataPtr data(parseConfigurationCommand(&command));
    if (data)
        record["platformData"] = platformJson(*data);
    else
        record["configurationRefused"] = reports.messages();
}

Json commandJson(ZovCommandStruct &command) {
    Json record = {{"kind", "command"},
                   {"commandName", optionalText(command.commandName)},
                   {"commandGuid", optionalText(command.commandGuid)},
                   {"tree", command.rootNode ? nodeJson(command.rootNode, 0) : Json(nullptr)}};
    addConfiguration(record, command);
    return record;
}

std::string safeFileName(const std::string &contentId, std::size_t index) {
    std::string name = "attachment-" + std::to_string(index);
    std::string id;
    for (char c : contentId)
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_') id += c;
    if (!id.empty() && id.find_first_not_of('.') != std::string::npos) name += "-" + id;
    return name;
}

Json attachmentsJson(const MimeStruct *parts, const std::string &saveDir) {
    Json out = Json::array();
    std::size_t index = 0;
    for (const MimeStruct *part = parts; part; part = part->next) {
        ++index;
        std::string bytes = zov::toString(part->body);
        Json entry = {{"headers", headersJson(part->headers)}, {"bytes", bytes.size()}};
        if (!saveDir.empty()) {
            const char *id = httpPayloadGetHeader(part->headers, "Content-ID");
            std::string path = saveDir + "/" + safeFileName(id ? id : "", index);
            writeOutput(path, bytes);
            entry["savedAs"] = path;
        }
        out.push_back(std::move(entry));
    }
    return out;
}

// The capture's headers as httpPayloadAddHeader builds the list (a repeated
// name updates the first header in place), in linear time: adding each one
// through the whole list would take quadratic time on a hostile capture.
zov::HeaderListPtr headerList(const Capture &capture) {
    zov::HeaderListPtr list;
    HttpHeader *tail = nullptr;
    std::unordered_map<std::string, HttpHeader *> byName;
    for (const auto &[name, value] : capture.headers) {
        HttpHeader *single = nullptr;  // the library's trimming and cutting
        if (httpPayloadAddHeader(&single, name.c_str(), value.c_str()) != 0) throw std::bad_alloc();
        zov::HeaderListPtr added(single);
        auto [known, isNew] = byName.try_emplace(single->name, single);
        if (!isNew) {
            HttpHeader *first = known->second;
            if (httpPayloadAddHeader(&first, name.c_str(), value.c_str()) != 0) throw std::bad_alloc();
            continue;
        }
        added.release();
        if (tail != nullptr) {
            tail->next = single;
        } else {
            list.reset(single);
        }
        tail = single;
    }
    return list;
}

// Reads "Content-Length" as the library does (leading blanks, sign, digits).
long long declaredLength(const HttpHeader *headers) {
    const char *value = httpPayloadGetHeader(const_cast<HttpHeader *>(headers), "Content-Length");
    if (value == nullptr) return -1;
    return std::strtoll(value, nullptr, 10);
}

Json inspectCapture(const Capture &capture, const InspectOptions &options) {
    Json doc;
    doc["status"] = capture.statusLine ? Json(*capture.statusLine) : Json(nullptr);
    if (capture.statusLine && checkResponseFirstLine(capture.statusLine->c_str()) != 0)
        throw Refused("the server did not answer 200 OK: '" + *capture.statusLine + "'");

    zov::HeaderListPtr headers = headerList(capture);
    doc["headers"] = headersJson(headers.get());
    if (declaredLength(headers.get()) > static_cast<long long>(capture.body.size()))
        throw Refused("Content-Length exceeds the " + std::to_string(capture.body.size()) +
                      " bytes of the body: the capture is cut off");

    char *text = nullptr;
    MimeStruct *rest = nullptr;
    if (processMime(headers.get(), capture.body.c_str(), &text, &rest) != 0)
        throw Refused("the body could not be decoded (see the library's reports)");
    zov::CStringPtr envelope(text);
    zov::MimePtr attachments(rest);

    Json records = Json::array();
    zov::EnvelopeParser parser;
    parser.onCommandChain = [&](zov::ParsedCommandPtr chain) {
        for (ZovCommandStruct *c = chain.get(); c; c = c->next) records.push_back(commandJson(*c));
    };
    parser.onResult = [&](zov::ParsedResultPtr r) {
        records.push_back({{"kind", "result"}, {"guid", optionalText(r->guid)}, {"success", r->success},
                           {"tree", nodeJson(r->rootNode, 0)}});
    };
    parser.onEventResult = [&](zov::ParsedEventResultPtr r) {
        records.push_back({{"kind", "eventResult"}, {"assetLevel", optionalText(r->assetLevel)},
                           {"nextAssetReportSeconds", optionalText(r->nextAssetReportSeconds)},
                           {"tree", nodeJson(r->rootNode, 0)}});
    };
    parser.onNoCommand = [&](zov::ParsedNoCommandPtr r) {
        records.push_back({{"kind", "noCommands"}, {"tree", nodeJson(r->rootNode, 0)}});
    };
    parser.onDialog = [&](zov::ParsedDialogPtr r) {
        records.push_back({{"kind", "dialog"}, {"dialogGuid", optionalText(r->dialogGuid)},
                           {"tree", nodeJson(r->rootNode, 0)}});
    };
    if (!parser.parse(std::string_view(envelope.get())))
        throw Refused("the envelope parser could not be created");

    doc["envelope"] = {{"bytes", std::strlen(envelope.get())},
                       {"deviceGuid", parser.deviceGuid().empty() ? Json(nullptr) : Json(parser.deviceGuid())}};
    doc["records"] = std::move(records);
    doc["attachments"] = attachmentsJson(attachments.get(), options.saveAttachmentsDir);
    return doc;
}

// ---------------------------------------------------------------------------
// Text rendering
// ---------------------------------------------------------------------------

bool blank(const std::string &text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

void renderTree(std::ostream &out, const Json &node, int depth) {
    out << std::string(static_cast<std::size_t>(2 * depth), ' ');
    out << (node["name"].is_null() ? "(no name)" : node["name"].get<std::string>());
    const Json &contents = node["contents"];
    if (contents.is_string() && !blank(contents.get<std::string>())) out << " = " << dump(contents);
    if (node.contains("truncated")) out << " ...";
    out << '\n';
    if (node.contains("children"))
        for (const Json &child : node["children"]) renderTree(out, child, depth + 1);
}

void renderValue(std::ostream &out, const std::string &key, const Json &value, int depth) {
    std::string indent(static_cast<std::size_t>(2 * depth), ' ');
    if (key == "tree" && value.is_object()) {
        out << indent << "tree:\n";
        renderTree(out, value, depth + 1);
    } else if (key == "headers" && value.is_array()) {
        out << indent << "headers:" << (value.empty() ? " (none)" : "") << '\n';
        for (const Json &header : value)
            out << indent << "  " << header["name"].get<std::string>() << ": " << header["value"].get<std::string>()
                << '\n';
    } else if (value.is_object()) {
        out << indent << key << ":\n";
        for (const auto &[k, v] : value.items()) renderValue(out, k, v, depth + 1);
    } else if (value.is_array()) {
        out << indent << key << ":" << (value.empty() ? " (none)" : "") << '\n';
        std::size_t n = 0;
        for (const Json &item : value) {
            ++n;
            if (item.is_object()) {
                out << indent << "  #" << n << '\n';
                for (const auto &[k, v] : item.items()) renderValue(out, k, v, depth + 2);
            } else {
                out << indent << "  - " << (item.is_string() ? item.get<std::string>() : dump(item)) << '\n';
            }
        }
    } else {
        out << indent << key << ": " << dump(value) << "\n";
    }
}

}  // namespace

int inspect(const InspectOptions &options) {
    if (!options.saveAttachmentsDir.empty()) {
        struct stat info {};
        if (stat(options.saveAttachmentsDir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            throw Refused("no such directory: " + options.saveAttachmentsDir);
    }
    Capture capture = parseCapture(readInput(options.input));
    Json doc = inspectCapture(capture, options);
    if (options.json) {
        std::cout << doc.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
        for (const auto &[key, value] : doc.items()) renderValue(std::cout, key, value, 0);
    }
    return kSuccess;
}

}  // namespace zovtool
