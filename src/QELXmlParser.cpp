#include "QELXmlParser.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <utility>

namespace {

const char* const kDataFolder = "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data";
const char* const kRnscFile = "qelRnscXml.xml";
const char* const kMainFile = "qelXml.xml";

// The fields of an item, in the order in which they are read.
const char* const kItemKeys[] = {
    "type", "name",    "opcode",   "msgcode",         "imqs",    "result", "duration", "retrycount",
    "spec", "measure", "detailed", "timeAckAbsolute", "threadID"};

// The fields of the item text, in their order.
const char* const kItemTextKeys[] = {"type",       "connection", "duration",
                                     "retrycount", "spec",       "measure"};

struct TypeKeyword_s {
    const char* keyword;
    app_result_type_e type;
};

// The order matters: the first keyword that matches decides.
const TypeKeyword_s kTypeKeywords[] = {
    {"app", RESULT_TYPE_APP}, {"rnsc", RESULT_TYPE_RNSC}, {"image", RESULT_TYPE_IMAGE},
    {"bt", RESULT_TYPE_BT},   {"wifi", RESULT_TYPE_WIFI},
};

struct XmlStringDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlString = std::unique_ptr<xmlChar, XmlStringDeleter>;

// Intentional: the comparison is limited to the length of the value, not of the keyword. A value
// matches when it is a prefix of the keyword; an empty value matches every keyword.
bool MatchesKeyword(const std::string& value, const char* keyword) {
    return std::strncmp(value.c_str(), keyword, value.length()) == 0;
}

const std::string* FindValue(const ResultItem& item, const std::string& key) {
    const auto it = item.find(key);
    return it == item.end() ? nullptr : &it->second;
}

// Writes text. A null text sets the failed state of the stream, which drops all later output: an
// error record without a file name ends the report after "File: ".
std::ostream& WriteText(std::ostream& out, const char* text) {
    if (text == nullptr) {
        out.setstate(std::ios_base::badbit);
        return out;
    }
    return out << text;
}

// The spellings of "ErroCode" here, and of "It`s" and "can`t" below, are intentional.
std::string ComposeParseErrorReport() {
    std::ostringstream report;
    report << "XML Parsing ERROR, xmlParseFile Failed" << std::endl;
    const auto* error = xmlGetLastError();
    if (error != nullptr) {
        report << "File: ";
        WriteText(report, error->file) << std::endl;
        report << "ErroCode: " << error->code << std::endl;
        report << "Message: ";
        WriteText(report, error->message) << std::endl;
        report << "At (Line: " << error->line << ", ExNum: " << error->int1
               << ", CmNum: " << error->int2 << ")" << std::endl;
        xmlResetLastError();
    }
    return report.str();
}

}  // namespace

const QELXmlParser::Field_s QELXmlParser::INFORMATION_FIELDS[] = {
    {"sn", "sn=", &QELXmlParser::m_sn},
    {"model", "model=", &QELXmlParser::m_model},
    {"option", "option=", &QELXmlParser::m_option},
    {"mm", "mm=", &QELXmlParser::m_mm},
    {"sm", "sm=", &QELXmlParser::m_sm},
    {"ss", "ss=", &QELXmlParser::m_ss},
    {"mt", "mt=", &QELXmlParser::m_mt},
    {"bt", "bt=", &QELXmlParser::m_bt},
    {"ld1", "ld1=", &QELXmlParser::m_ld1},
    {"ld2", "ld2=", &QELXmlParser::m_ld2},
    {"dnso", "dnso=", &QELXmlParser::m_dnso},
};

const QELXmlParser::Field_s QELXmlParser::NETWORK_FIELDS[] = {
    {"type", "type=", &QELXmlParser::m_networkType},
    {"connection", "connection=", &QELXmlParser::m_networkConnection},
    {"pairing_elapsed_time", "pairing elapsed time=", &QELXmlParser::m_pairingElapsedTime},
    {"pairing_end_time", "pairing end time=", &QELXmlParser::m_pairingEndTime},
    {"module_start_time", "module start time=", &QELXmlParser::m_moduleStartTime},
    {"module_elapsed_time", "module elapsed time=", &QELXmlParser::m_moduleElapsedTime},
};

const QELXmlParser::Field_s QELXmlParser::NETWORK_FAIL_FIELDS[] = {
    {"type", nullptr, &QELXmlParser::m_networkType},
    {"connection", nullptr, &QELXmlParser::m_networkConnection},
    {"reason", nullptr, &QELXmlParser::m_networkFailReason},
};

// "result", "fanet" and "testnum" are stored, but no panel shows them.
const QELXmlParser::Field_s QELXmlParser::SUMMARY_FIELDS[] = {
    {"starttime", "starttime=", &QELXmlParser::m_summaryStartTime},
    {"duration", "duration=", &QELXmlParser::m_summaryDuration},
    {"result", nullptr, &QELXmlParser::m_summaryResult},
    {"fanet", nullptr, &QELXmlParser::m_summaryFanet},
    {"testnum", nullptr, &QELXmlParser::m_summaryTestNum},
    {"retrycount", "retrycount=", &QELXmlParser::m_summaryRetryCount},
};

QELXmlParser* QELXmlParser::m_qelXmlParser = nullptr;

QELXmlParser* QELXmlParser::GetInstance() {
    if (m_qelXmlParser == nullptr) {
        m_qelXmlParser = new (std::nothrow) QELXmlParser();
        if (m_qelXmlParser == nullptr) {
            QEL_LOGE("failed to get instance\n");
        }
    }
    return m_qelXmlParser;
}

QELXmlParser::QELXmlParser() : m_doc(nullptr), m_rootNode(nullptr) {
    m_Initialize();
}

QELXmlParser::~QELXmlParser() {
    xmlFreeDoc(m_doc);
    m_doc = nullptr;
}

void QELXmlParser::m_Initialize() {
    // Intentional: a document of an earlier ParseFile is not freed here. Only m_ParseFile,
    // ReleaseDocument and the destructor free a document.
    m_doc = nullptr;
    m_rootNode = nullptr;
    const auto clearAll = [this](const auto& fields) {
        for (const Field_s& field : fields) {
            (this->*field.member).clear();
        }
    };
    clearAll(SUMMARY_FIELDS);
    clearAll(NETWORK_FIELDS);
    clearAll(NETWORK_FAIL_FIELDS);
    clearAll(INFORMATION_FIELDS);
    m_resultFailData.clear();
    m_resultAllData.clear();
}

bool QELXmlParser::ParseFile() {
    return ParseFolder(kDataFolder);
}

bool QELXmlParser::ParseFolder(const std::string& folder) {
    m_Initialize();
    // The main file is read even when the RNSC file cannot be parsed. The section values of the
    // main file replace the section values of the RNSC file.
    const bool rnscParsed = m_ParseFile((folder + "/" + kRnscFile).c_str());
    const bool mainParsed = m_ParseFile((folder + "/" + kMainFile).c_str());
    return rnscParsed && mainParsed;
}

bool QELXmlParser::m_ParseFile(const char* path) {
    QEL_LOGI("[%s] Start!! \n[%s]\n", __func__, path);
    if (access(path, F_OK) != 0) {
        QEL_LOGI("[%s] not exist!!\n", path);
        return true;
    }
    if (m_doc != nullptr) {
        xmlFreeDoc(m_doc);
        m_doc = nullptr;
    }
    // When the file cannot be parsed, m_rootNode stays unchanged although its document is freed.
    // m_rootNode is not used until a later file has been parsed.
    m_doc = xmlParseFile(path);
    if (m_doc == nullptr) {
        QEL_LOGE("%s\n", ComposeParseErrorReport().c_str());
        return false;
    }
    m_rootNode = xmlDocGetRootElement(m_doc);
    if (m_rootNode == nullptr) {
        QEL_LOGE("XML Parsing ERROR, It`s Empty Doc\n");
        return false;
    }
    m_ParseSections();
    return true;
}

void QELXmlParser::m_ParseSections() {
    m_ParseInformation();
    if (m_ParseNetworkFailInfo() == 1) {
        // Intentional: the rest of the file is not read. The network failure is the only failed
        // item of this file.
        return;
    }
    m_ParseNetworkInfo();
    m_ParseSummary();
    m_ParseItemInfoList("RNSCImage");
    m_ParseItemInfoList("RNSCTest");
    m_ParseItemInfoList("FAnetTest");
}

bool QELXmlParser::m_ParseInformation() {
    xmlNodePtr section = m_FindNodeWithTagInfo(m_rootNode, "Information");
    if (section == nullptr) {
        QEL_LOGE("ERROR can`t find <%s> from XML\n", "Information");
        return false;
    }
    m_ReadFields(section, INFORMATION_FIELDS);
    return true;
}

// Returns 1 for a network failure, 0 without a network failure, and -1 without a "Network" section.
int QELXmlParser::m_ParseNetworkFailInfo() {
    xmlNodePtr network = m_FindNodeWithTagInfo(m_rootNode, "Network");
    if (network == nullptr) {
        // Intentional: m_ParseNetworkInfo logs the missing section a second time.
        QEL_LOGE("ERROR can`t find <%s> from XML\n", "Network");
        return -1;
    }
    xmlNodePtr failedInfo = m_FindNodeWithTagInfo(network, "failedinfo");
    if (failedInfo == nullptr) {
        return 0;
    }
    ResultItem item;
    for (const Field_s& field : NETWORK_FAIL_FIELDS) {
        if (m_ReadField(failedInfo, field)) {
            item[field.tag] = this->*field.member;
        }
    }
    // The item is added even when no field could be read.
    m_resultFailData.push_back(item);
    m_resultAllData.push_back(item);
    return 1;
}

bool QELXmlParser::m_ParseNetworkInfo() {
    xmlNodePtr section = m_FindNodeWithTagInfo(m_rootNode, "Network");
    if (section == nullptr) {
        QEL_LOGE("ERROR can`t find <%s> from XML\n", "Network");
        return false;
    }
    m_ReadFields(section, NETWORK_FIELDS);
    return true;
}

bool QELXmlParser::m_ParseSummary() {
    xmlNodePtr section = m_FindNodeWithTagInfo(m_rootNode, "Summary");
    if (section == nullptr) {
        QEL_LOGE("ERROR can`t find <%s> from XML\n", "Summary");
        return false;
    }
    m_ReadFields(section, SUMMARY_FIELDS);
    return true;
}

bool QELXmlParser::m_ParseItemInfoList(const char* tag) {
    xmlNodePtr list = m_FindNodeWithTagInfo(m_rootNode, tag);
    if (list == nullptr) {
        QEL_LOGE("ERROR can`t find <%s> from XML\n", tag);
        return false;
    }
    if (list->children == nullptr) {
        QEL_LOGE("ERROR No Test Item Info\n");
        return false;
    }
    for (xmlNodePtr node = list->children; node != nullptr; node = node->next) {
        m_ParseItemInfo(node);
    }
    return true;
}

bool QELXmlParser::m_ParseItemInfo(xmlNodePtr node) {
    if (node == nullptr) {
        QEL_LOGE("Parent Node is NULL\n");
        return false;
    }
    if (xmlStrEqual(node->name, BAD_CAST "test") == 0) {
        return false;
    }
    ResultItem item;
    for (const char* key : kItemKeys) {
        std::string value;
        if (m_GetContentFromNode(m_doc, m_FindNodeWithTagInfo(node, key), value)) {
            item.emplace(key, std::move(value));
        }
    }
    // Intentional: an item is failed when its result is missing or is a prefix of "fail".
    const std::string* result = FindValue(item, "result");
    if (result == nullptr || MatchesKeyword(*result, "fail")) {
        m_resultFailData.push_back(item);
    }
    m_resultAllData.push_back(std::move(item));
    return true;
}

unsigned int QELXmlParser::GetNumOfResult() const {
    return static_cast<unsigned int>(m_resultFailData.size());
}

unsigned int QELXmlParser::GetNumOfResultAll() const {
    return static_cast<unsigned int>(m_resultAllData.size());
}

std::string QELXmlParser::GetResult(unsigned int id, std::string key) const {
    if (id >= m_resultFailData.size()) {
        QEL_LOGE("Invalid ID[%d]!! m_resultFailData.size[%zu]\n", id, m_resultFailData.size());
        return "";
    }
    const std::string* value = key.empty() ? nullptr : FindValue(m_resultFailData[id], key);
    if (value == nullptr) {
        QEL_LOGE("Invalid KEY[%s]!!\n", key.c_str());
        return "";
    }
    std::string text = *value;
    if (key == "detailed") {
        m_ReplaceString(text, ";", "\n");
        m_ReplaceString(text, "^", "\n\n");
    }
    return text;
}

std::string QELXmlParser::GetResultFromAll(unsigned int id, std::string key) const {
    if (id >= m_resultAllData.size()) {
        QEL_LOGE("Invalid ID[%d]!! m_resultAllData.size[%zu]\n", id, m_resultAllData.size());
        return "";
    }
    const std::string* value = key.empty() ? nullptr : FindValue(m_resultAllData[id], key);
    if (value == nullptr) {
        QEL_LOGE("Invalid KEY[%s]!!\n", key.c_str());
        return "";
    }
    return *value;
}

std::string QELXmlParser::GetResult(unsigned int id) const {
    if (id >= m_resultFailData.size()) {
        QEL_LOGE("Invalid ID[%d]!! m_resultFailData.size[%zu]\n", id, m_resultFailData.size());
        return "";
    }
    std::string text;
    for (const char* key : kItemTextKeys) {
        const std::string* value = FindValue(m_resultFailData[id], key);
        if (value != nullptr) {
            text.append(key).append("=").append(*value).append("\n");
        }
    }
    return text;
}

app_result_type_e QELXmlParser::GetResultType(unsigned int id) const {
    if (id >= m_resultFailData.size()) {
        QEL_LOGE("Invalid ID[%d]!! m_resultFailData.size[%zu]\n", id, m_resultFailData.size());
        return RESULT_TYPE_INVALID;
    }
    const std::string* type = FindValue(m_resultFailData[id], "type");
    if (type == nullptr) {
        return RESULT_TYPE_INVALID;
    }
    for (const TypeKeyword_s& candidate : kTypeKeywords) {
        if (MatchesKeyword(*type, candidate.keyword)) {
            return candidate.type;
        }
    }
    return RESULT_TYPE_INVALID;
}

std::vector<ResultItem> QELXmlParser::GetResultData() const {
    return m_resultFailData;
}

const std::vector<ResultItem>& QELXmlParser::GetFailedItems() const {
    return m_resultFailData;
}

const std::vector<ResultItem>& QELXmlParser::GetAllItems() const {
    return m_resultAllData;
}

std::string QELXmlParser::GetInformation() const {
    return m_ComposePanelText(INFORMATION_FIELDS);
}

std::string QELXmlParser::GetNetworkInfo() const {
    return m_ComposePanelText(NETWORK_FIELDS);
}

std::string QELXmlParser::GetSummary() const {
    return m_ComposePanelText(SUMMARY_FIELDS);
}

template <std::size_t N>
std::string QELXmlParser::m_ComposePanelText(const Field_s (&fields)[N]) const {
    std::string text;
    for (const Field_s& field : fields) {
        if (field.label != nullptr) {
            text.append(field.label).append(this->*field.member).append("\n");
        }
    }
    return text;
}

SectionValues QELXmlParser::GetInformationValues() const {
    SectionValues values;
    m_CollectValues(INFORMATION_FIELDS, values);
    return values;
}

SectionValues QELXmlParser::GetNetworkValues() const {
    SectionValues values;
    m_CollectValues(NETWORK_FIELDS, values);
    m_CollectValues(NETWORK_FAIL_FIELDS, values);
    return values;
}

SectionValues QELXmlParser::GetSummaryValues() const {
    SectionValues values;
    m_CollectValues(SUMMARY_FIELDS, values);
    return values;
}

// Appends the values that are not empty. A tag that values already has is left out.
template <std::size_t N>
void QELXmlParser::m_CollectValues(const Field_s (&fields)[N], SectionValues& values) const {
    for (const Field_s& field : fields) {
        const bool isNew = std::none_of(values.begin(), values.end(), [&field](const auto& value) {
            return value.first == field.tag;
        });
        if (isNew && !(this->*field.member).empty()) {
            values.emplace_back(field.tag, this->*field.member);
        }
    }
}

void QELXmlParser::ReleaseDocument() {
    xmlFreeDoc(m_doc);
    m_doc = nullptr;
    m_rootNode = nullptr;
}

template <std::size_t N>
void QELXmlParser::m_ReadFields(xmlNodePtr section, const Field_s (&fields)[N]) {
    for (const Field_s& field : fields) {
        m_ReadField(section, field);
    }
}

bool QELXmlParser::m_ReadField(xmlNodePtr section, const Field_s& field) {
    return m_GetContentFromNode(m_doc, m_FindNodeWithTagInfo(section, field.tag),
                                this->*field.member);
}

xmlNodePtr QELXmlParser::m_FindNodeWithTagInfo(xmlNodePtr parent, std::string tag) {
    if (parent == nullptr) {
        QEL_LOGE("Parent Node is NULL\n");
        return nullptr;
    }
    for (xmlNodePtr node = parent->children; node != nullptr; node = node->next) {
        if (xmlStrEqual(node->name, BAD_CAST tag.c_str()) != 0) {
            return node;
        }
    }
    return nullptr;
}

bool QELXmlParser::m_GetContentFromNode(xmlDocPtr doc, xmlNodePtr node, std::string& content) {
    if (doc == nullptr || node == nullptr) {
        return false;
    }
    const XmlString text(xmlNodeListGetString(doc, node->children, 1));
    if (text == nullptr) {
        QEL_LOGE("Content of current node is NULL\n");
        return false;
    }
    content = reinterpret_cast<const char*>(text.get());
    return true;
}

void QELXmlParser::m_ReplaceString(std::string& text, const std::string& pattern,
                                   const std::string& replacement) {
    std::string replaced;
    std::size_t copied = 0;
    for (std::size_t hit = text.find(pattern); hit != std::string::npos;
         hit = text.find(pattern, copied)) {
        replaced.append(text, copied, hit - copied).append(replacement);
        copied = hit + pattern.length();
    }
    text = replaced.append(text, copied, std::string::npos);
}
