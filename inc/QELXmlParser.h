#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "quorvel.h"

// One test item: the names of its elements with their text, as it stands in the file.
using ResultItem = std::map<std::string, std::string>;

// The store of everything that the factory test run left on the set: the failed items, all items,
// and the information, network and summary values of the run.
//
// A singleton that lives until the process ends. It is filled once, on the main-loop thread, before
// any screen exists, and only read afterwards; so the queries need no lock and may be called from
// any thread. Every query returns copies.
//
// An item is named by its index: into the list of failed items, or, where an operation says All,
// into the list of all items. The same item has different indexes in the two lists.
class QELXmlParser {
public:
    QELXmlParser();
    virtual ~QELXmlParser();
    QELXmlParser(const QELXmlParser&) = delete;
    QELXmlParser& operator=(const QELXmlParser&) = delete;

    // The one store, made on first use; null, with an error line, when it cannot be allocated.
    static QELXmlParser* GetInstance();

    // Empties the store and reads both result files into it. True when neither had a fatal error; a
    // missing file is none. Main-loop thread.
    bool ParseFile();

    // The number of failed items.
    unsigned int GetNumOfResult() const;
    // The number of all items, failed or not.
    unsigned int GetNumOfResultAll() const;

    // The value of key in the failed item id; empty, with an error line, when there is no such item
    // or key. In "detailed" the marks ";" and "^" come back as one and two line feeds.
    std::string GetResult(unsigned int id, std::string key) const;
    // The value of key in the item id of all items, unchanged; empty, with an error line, when
    // there is no such item or key.
    std::string GetResultFromAll(unsigned int id, std::string key) const;
    // The text that the screens show for the failed item id: a line "key=value" for each of the
    // shown keys that it has; empty, with an error line, when there is no such item.
    std::string GetResult(unsigned int id) const;
    // The type of the failed item id; RESULT_TYPE_INVALID for an unknown type, a missing one, or
    // (with an error line) a missing item.
    app_result_type_e GetResultType(unsigned int id) const;
    // A copy of the whole failed list.
    std::vector<ResultItem> GetResultData() const;

    // The panel texts: one line "label=value" for every label, with an empty value where the files
    // have none.
    std::string GetInformation() const;
    std::string GetNetworkInfo() const;
    std::string GetSummary() const;

private:
    // A section value: its element's name, what its panel writes before it (null: no panel shows
    // it) and where it is kept.
    struct Field_s {
        const char* tag;
        const char* label;
        std::string QELXmlParser::*member;
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
    static xmlNodePtr m_FindNodeWithTagInfo(xmlNodePtr parent, std::string tag);
    static bool m_GetContentFromNode(xmlDocPtr doc, xmlNodePtr node, std::string& content);
    static void m_ReplaceString(std::string& text, const std::string& pattern,
                                const std::string& replacement);

    static const Field_s INFORMATION_FIELDS[];
    static const Field_s NETWORK_FIELDS[];
    static const Field_s NETWORK_FAIL_FIELDS[];
    static const Field_s SUMMARY_FIELDS[];

    static QELXmlParser* m_qelXmlParser;

    xmlDocPtr m_doc;        // the document parsed last, owned
    xmlNodePtr m_rootNode;  // its root element, part of m_doc

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
