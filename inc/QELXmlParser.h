#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "quorvel.h"

// One item: the names of its elements and their unchanged text.
using ResultItem = std::map<std::string, std::string>;

// The values of a section: the name of the element and its text.
using SectionValues = std::vector<std::pair<std::string, std::string>>;

// The result store: the failed items, all items, and the information, network and summary values of
// one run.
//
// A singleton that lives until the process ends. The main-loop thread fills the store once, before
// any view exists. Afterwards the store is only read. The queries therefore need no lock and may be
// called from any thread. A query returns a copy, except GetFailedItems and GetAllItems.
//
// An item is identified by its index in the list of failed items. Operations with All in their
// names take the index in the list of all items. The same item has different indexes in the two
// lists.
class QELXmlParser {
public:
    QELXmlParser();
    virtual ~QELXmlParser();
    QELXmlParser(const QELXmlParser&) = delete;
    QELXmlParser& operator=(const QELXmlParser&) = delete;

    // Returns the store, created by the first call; null, with an error line, when the store cannot
    // be allocated. The first call comes from the main-loop thread.
    static QELXmlParser* GetInstance();

    // Clears the store and reads both result files of the data folder into it. Returns false when a
    // file cannot be parsed. A missing file is not an error. Main-loop thread.
    bool ParseFile();
    // Does the same for the result files of any folder. The folder has no slash at its end.
    bool ParseFolder(const std::string& folder);

    // Returns the number of failed items.
    unsigned int GetNumOfResult() const;
    // Returns the number of all items.
    unsigned int GetNumOfResultAll() const;

    // Returns the value of key of the failed item id. Returns an empty text and logs an error when
    // the item or the key does not exist. In the value of "detailed", ";" is replaced by one line
    // feed and "^" by two.
    std::string GetResult(unsigned int id, std::string key) const;
    // Returns the unchanged value of key of the item id of the list of all items. Returns an empty
    // text and logs an error when the item or the key does not exist.
    std::string GetResultFromAll(unsigned int id, std::string key) const;
    // Returns the item text of the failed item id: one line "key=value" for each key that is shown
    // and that the item has. Returns an empty text and logs an error when the item does not exist.
    std::string GetResult(unsigned int id) const;
    // Returns the type of the failed item id. Returns RESULT_TYPE_INVALID for a missing or unknown
    // type and, with an error line, for a missing item.
    app_result_type_e GetResultType(unsigned int id) const;
    // Returns a copy of the list of failed items.
    std::vector<ResultItem> GetResultData() const;
    // Return the failed items and all items. The references are valid until the next call of
    // ParseFile or ParseFolder.
    const std::vector<ResultItem>& GetFailedItems() const;
    const std::vector<ResultItem>& GetAllItems() const;

    // Return the panel texts: one line "label=value" for each label, with an empty value when the
    // result files have no value.
    std::string GetInformation() const;
    std::string GetNetworkInfo() const;
    std::string GetSummary() const;

    // Return the values of a section that are not empty, also the values that no panel shows: the
    // names of the elements and the unchanged values. The network values end with the reason of a
    // network failure.
    SectionValues GetInformationValues() const;
    SectionValues GetNetworkValues() const;
    SectionValues GetSummaryValues() const;

    // Frees the document of the file parsed last. The store keeps all values and items.
    void ReleaseDocument();

private:
    // One value of a section.
    struct Field_s {
        const char* tag;                    // the name of the element
        const char* label;                  // in the panel text; null when no panel shows the value
        std::string QELXmlParser::*member;  // stores the value
    };

    void m_Initialize();
    bool m_ParseFile(const char* path);
    void m_ParseSections();

    bool m_ParseInformation();
    int m_ParseNetworkFailInfo();
    bool m_ParseNetworkInfo();
    bool m_ParseSummary();
    bool m_ParseItemInfoList(const char* tag);
    bool m_ParseItemInfo(xmlNodePtr node);

    bool m_ReadField(xmlNodePtr section, const Field_s& field);
    template <std::size_t N>
    void m_ReadFields(xmlNodePtr section, const Field_s (&fields)[N]);
    template <std::size_t N>
    std::string m_ComposePanelText(const Field_s (&fields)[N]) const;
    template <std::size_t N>
    void m_CollectValues(const Field_s (&fields)[N], SectionValues& values) const;
    static xmlNodePtr m_FindNodeWithTagInfo(xmlNodePtr parent, std::string tag);
    static bool m_GetContentFromNode(xmlDocPtr doc, xmlNodePtr node, std::string& content);
    static void m_ReplaceString(std::string& text, const std::string& pattern,
                                const std::string& replacement);

    static const Field_s INFORMATION_FIELDS[];
    static const Field_s NETWORK_FIELDS[];
    static const Field_s NETWORK_FAIL_FIELDS[];
    static const Field_s SUMMARY_FIELDS[];

    static QELXmlParser* m_qelXmlParser;

    xmlDocPtr m_doc;        // the document parsed last; owned
    xmlNodePtr m_rootNode;  // the root element of m_doc; owned by m_doc

    std::string m_summaryStartTime;
    std::string m_summaryDuration;
    std::string m_summaryResult;
    std::string m_summaryFanet;
    std::string m_summaryTestNum;
    std::string m_summaryRetryCount;
    std::string m_networkType;
    std::string m_networkConnection;
    std::string m_pairingElapsedTime;
    std::string m_pairingEndTime;
    std::string m_moduleStartTime;
    std::string m_moduleElapsedTime;
    std::string m_networkFailReason;
    std::string m_sn;
    std::string m_model;
    std::string m_option;
    std::string m_mm;
    std::string m_sm;
    std::string m_ss;
    std::string m_mt;
    std::string m_bt;
    std::string m_ld1;
    std::string m_ld2;
    std::string m_dnso;

    std::vector<ResultItem> m_resultFailData;
    std::vector<ResultItem> m_resultAllData;
};
