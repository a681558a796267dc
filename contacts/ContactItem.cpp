#include "contacts/ContactItem.h"

#include "contacts/VCardText.h"
#include "contacts/VCardWriter.h"

#include <QCryptographicHash>
#include <QHash>
#include <QUuid>
#include <algorithm>

namespace
{

// ---- The property table ------------------------------------------------------------------

enum class Kind {
    NamePart, // a = N component (0-based)
    FullName,
    OrgPart, // a = ORG component
    AdrPart, // a = address class, b = ADR component
    Phone,   // a = TelClass
    Email,   // a = 0..2
    Url,     // a = 0 work, 1 home
    Text,    // a = Chain
    Date,    // a = Chain (Anniversary)
    Birthday,
    Gender,
    Categories,
    Children,
    FileAs,
    EntryId,
    MessageClass,
};

enum AdrClass { Business, Home, Other, AdrClassCount };

enum TelClass {
    TelBusiness,
    TelBusiness2,
    TelBusinessFax,
    TelHome,
    TelHome2,
    TelHomeFax,
    TelMobile,
    TelOtherFax,
    TelIsdn,
    TelTelex,
    TelAssistant,
    TelCar,
    TelRadio,
    TelPager,
    TelCompanyMain,
    TelOther,
    TelCallback,
    TelTtyTdd,
    TelClassCount
};

// TYPE written for a new number of each class (3.0 form).
const char* const kTelTypes[TelClassCount] = {"WORK,VOICE",
                                              "WORK,VOICE",
                                              "WORK,FAX",
                                              "HOME,VOICE",
                                              "HOME,VOICE",
                                              "HOME,FAX",
                                              "CELL,VOICE",
                                              "FAX",
                                              "ISDN",
                                              "X-ZETTELWERK-TELEX",
                                              "X-ZETTELWERK-ASSISTANT",
                                              "CAR",
                                              "X-ZETTELWERK-RADIO",
                                              "PAGER",
                                              "X-ZETTELWERK-COMPANY-MAIN",
                                              "VOICE",
                                              "X-ZETTELWERK-CALLBACK",
                                              "X-ZETTELWERK-TTYTDD"};

enum Chain {
    ChainFileAs,
    ChainJobTitle,
    ChainProfession,
    ChainNickName,
    ChainSpouse,
    ChainManager,
    ChainAssistant,
    ChainReferredBy,
    ChainInitials,
    ChainFtpSite,
    ChainAccount,
    ChainCustomerId,
    ChainOrgIdNumber,
    ChainUser1,
    ChainUser2,
    ChainUser3,
    ChainUser4,
    ChainLanguage,
    ChainHobby,
    ChainOffice,
    ChainAnniversary,
    ChainGender,
    ChainChildren,
    ChainCount
};

struct Field {
    const char16_t* name;
    Kind kind;
    int a = 0;
    int b = 0;
};

const Field kFields[] = {
    {u"FileAs", Kind::FileAs},
    {u"Title", Kind::NamePart, 3},
    {u"FirstName", Kind::NamePart, 1},
    {u"LastName", Kind::NamePart, 0},
    {u"MiddleName", Kind::NamePart, 2},
    {u"Suffix", Kind::NamePart, 4},
    {u"FullName", Kind::FullName},
    {u"JobTitle", Kind::Text, ChainJobTitle},
    {u"Department", Kind::OrgPart, 1},
    {u"CompanyName", Kind::OrgPart, 0},
    {u"BusinessAddressStreet", Kind::AdrPart, Business, 2},
    {u"BusinessAddressCity", Kind::AdrPart, Business, 3},
    {u"BusinessAddressPostalCode", Kind::AdrPart, Business, 5},
    {u"BusinessAddressPostOfficeBox", Kind::AdrPart, Business, 0},
    {u"BusinessAddressState", Kind::AdrPart, Business, 4},
    {u"BusinessAddressCountry", Kind::AdrPart, Business, 6},
    {u"BusinessTelephoneNumber", Kind::Phone, TelBusiness},
    {u"Business2TelephoneNumber", Kind::Phone, TelBusiness2},
    {u"BusinessFaxNumber", Kind::Phone, TelBusinessFax},
    {u"HomeTelephoneNumber", Kind::Phone, TelHome},
    {u"Home2TelephoneNumber", Kind::Phone, TelHome2},
    {u"MobileTelephoneNumber", Kind::Phone, TelMobile},
    {u"Email1Address", Kind::Email, 0},
    {u"WebPage", Kind::Url, 0},
    {u"HomeAddressStreet", Kind::AdrPart, Home, 2},
    {u"HomeAddressCity", Kind::AdrPart, Home, 3},
    {u"HomeAddressPostalCode", Kind::AdrPart, Home, 5},
    {u"HomeAddressPostOfficeBox", Kind::AdrPart, Home, 0},
    {u"HomeAddressState", Kind::AdrPart, Home, 4},
    {u"HomeAddressCountry", Kind::AdrPart, Home, 6},
    {u"HomeFaxNumber", Kind::Phone, TelHomeFax},
    {u"OtherAddressStreet", Kind::AdrPart, Other, 2},
    {u"OtherAddressCity", Kind::AdrPart, Other, 3},
    {u"OtherAddressPostalCode", Kind::AdrPart, Other, 5},
    {u"OtherAddressPostOfficeBox", Kind::AdrPart, Other, 0},
    {u"OtherAddressState", Kind::AdrPart, Other, 4},
    {u"OtherAddressCountry", Kind::AdrPart, Other, 6},
    {u"ReferredBy", Kind::Text, ChainReferredBy},
    {u"Initials", Kind::Text, ChainInitials},
    {u"Children", Kind::Children, ChainChildren},
    {u"Spouse", Kind::Text, ChainSpouse},
    {u"NickName", Kind::Text, ChainNickName},
    {u"ManagerName", Kind::Text, ChainManager},
    {u"Birthday", Kind::Birthday},
    {u"Gender", Kind::Gender, ChainGender},
    {u"Hobby", Kind::Text, ChainHobby},
    {u"Anniversary", Kind::Date, ChainAnniversary},
    {u"Language", Kind::Text, ChainLanguage},
    {u"Email2Address", Kind::Email, 1},
    {u"Email3Address", Kind::Email, 2},
    {u"PersonalHomePage", Kind::Url, 1},
    {u"FTPSite", Kind::Text, ChainFtpSite},
    {u"OtherFaxNumber", Kind::Phone, TelOtherFax},
    {u"ISDNNumber", Kind::Phone, TelIsdn},
    {u"TelexNumber", Kind::Phone, TelTelex},
    {u"User1", Kind::Text, ChainUser1},
    {u"User2", Kind::Text, ChainUser2},
    {u"User3", Kind::Text, ChainUser3},
    {u"User4", Kind::Text, ChainUser4},
    {u"Account", Kind::Text, ChainAccount},
    {u"CustomerID", Kind::Text, ChainCustomerId},
    {u"OrganizationalIDNumber", Kind::Text, ChainOrgIdNumber},
    {u"AssistantName", Kind::Text, ChainAssistant},
    {u"AssistantTelephoneNumber", Kind::Phone, TelAssistant},
    {u"CarTelephoneNumber", Kind::Phone, TelCar},
    {u"RadioTelephoneNumber", Kind::Phone, TelRadio},
    {u"PagerNumber", Kind::Phone, TelPager},
    {u"CompanyMainTelephoneNumber", Kind::Phone, TelCompanyMain},
    {u"OtherTelephoneNumber", Kind::Phone, TelOther},
    {u"CallbackTelephoneNumber", Kind::Phone, TelCallback},
    {u"TTYTDDTelephoneNumber", Kind::Phone, TelTtyTdd},
    {u"Profession", Kind::Text, ChainProfession},
    {u"OfficeLocation", Kind::Text, ChainOffice},
    {u"Categories", Kind::Categories},
    {u"EntryID", Kind::EntryId},
    {u"MessageClass", Kind::MessageClass},
};

const Field* fieldByName(QStringView name)
{
    static const QHash<QString, const Field*> byName = [] {
        QHash<QString, const Field*> h;
        for (const Field& f : kFields)
            h.insert(QString::fromUtf16(f.name).toLower(), &f);
        return h;
    }();
    return byName.value(name.toString().toLower(), nullptr);
}

// ---- Alias chains: where a value may come from, in precedence order ----------------------

struct Source {
    Source(QByteArray n = QByteArray()) : name(std::move(n)) {}
    QByteArray name;
    QStringList labels;          // Apple/Google group labels (X-ABLabel); empty: none required
    QString relatedType;         // RELATED;TYPE=<this>
    int position = 0;            // 1-based: only the n-th line of that name (Outlook X-MS-TEXT)
    int component = -1;          // a component of a structured value (ORG.3)
    bool outlookOffice = false;  // ADR(Business).2 of an Outlook card
    bool joinAll = false;        // every line of that name, joined (HOBBY, X-MS-CHILD)
    bool firstListValue = false; // NICKNAME: first of a list
    bool isList = false;         // the value is a comma list (X-ZETTELWERK-CHILDREN)
};

struct ChainDef {
    ChainDef() = default;
    ChainDef(QList<Source> s, QByteArray o, QByteArray std40 = {}, QString rel40 = {})
        : sources(std::move(s)), own(std::move(o)), standard40(std::move(std40)),
          related40(std::move(rel40))
    {
    }
    QList<Source> sources;
    QByteArray own;        // written when no line exists (version 3.0)
    QByteArray standard40; // written instead in a 4.0 card, if set
    QString related40;     // 4.0: RELATED;TYPE=<this>;VALUE=text
};

Source src(const char* name)
{
    return Source(name);
}
Source labelled(const char* name, QStringList labels)
{
    Source s(name);
    s.labels = std::move(labels);
    return s;
}
Source related(const char* type)
{
    Source s("RELATED");
    s.relatedType = QString::fromLatin1(type);
    return s;
}

const ChainDef& chain(int id)
{
    static const QList<ChainDef> chains = [] {
        QList<ChainDef> c(ChainCount);
        c[ChainFileAs] = {{src("X-ZETTELWERK-FILE-AS"), src("X-EVOLUTION-FILE-AS")},
                          "X-ZETTELWERK-FILE-AS"};
        c[ChainJobTitle] = {{src("TITLE")}, "TITLE"};
        c[ChainProfession] = {{src("ROLE"), src("X-KADDRESSBOOK-X-PROFESSION")}, "ROLE"};
        Source nick = src("NICKNAME");
        nick.firstListValue = true;
        c[ChainNickName] = {{nick}, "NICKNAME"};
        c[ChainSpouse] = {
            {related("spouse"), src("X-ZETTELWERK-SPOUSE"), src("X-MS-SPOUSE"),
             src("X-EVOLUTION-SPOUSE"), src("X-KADDRESSBOOK-X-SPOUSESNAME"),
             src("X-KADDRESSBOOK-X-SPOUSENAME"), src("X-SPOUSE"), src("X-WAB-SPOUSE_NAME"),
             labelled("X-ABRELATEDNAMES",
                      {QStringLiteral("_$!<Spouse>!$_"), QStringLiteral("_$!<Partner>!$_"),
                       QStringLiteral("DOMESTIC_PARTNER"), QStringLiteral("Spouse"),
                       QStringLiteral("Partner")})},
            "X-ZETTELWERK-SPOUSE",
            {},
            QStringLiteral("spouse")};
        c[ChainManager] = {
            {src("X-ZETTELWERK-MANAGER-NAME"), src("X-MS-MANAGER"), src("X-EVOLUTION-MANAGER"),
             src("X-KADDRESSBOOK-X-MANAGERSNAME"), src("X-MANAGER"),
             labelled("X-ABRELATEDNAMES",
                      {QStringLiteral("_$!<Manager>!$_"), QStringLiteral("Manager")})},
            "X-ZETTELWERK-MANAGER-NAME"};
        c[ChainAssistant] = {
            {src("X-ZETTELWERK-ASSISTANT-NAME"), src("X-MS-ASSISTANT"), src("X-ASSISTANT"),
             src("X-EVOLUTION-ASSISTANT"), src("X-KADDRESSBOOK-X-ASSISTANTSNAME"),
             labelled("X-ABRELATEDNAMES",
                      {QStringLiteral("_$!<Assistant>!$_"), QStringLiteral("Assistant")}),
             related("agent")},
            "X-ZETTELWERK-ASSISTANT-NAME"};
        c[ChainReferredBy] = {{src("X-ZETTELWERK-REFERRED-BY"),
                               labelled("X-ABRELATEDNAMES", {QStringLiteral("REFERRED_BY")})},
                              "X-ZETTELWERK-REFERRED-BY"};
        c[ChainInitials] = {{src("X-ZETTELWERK-INITIALS")}, "X-ZETTELWERK-INITIALS"};
        c[ChainFtpSite] = {{src("X-ZETTELWERK-FTP-SITE")}, "X-ZETTELWERK-FTP-SITE"};
        c[ChainAccount] = {{src("X-ZETTELWERK-ACCOUNT")}, "X-ZETTELWERK-ACCOUNT"};
        c[ChainCustomerId] = {{src("X-ZETTELWERK-CUSTOMER-ID")}, "X-ZETTELWERK-CUSTOMER-ID"};
        c[ChainOrgIdNumber] = {{src("X-ZETTELWERK-ORGANIZATIONAL-ID-NUMBER")},
                               "X-ZETTELWERK-ORGANIZATIONAL-ID-NUMBER"};
        for (int i = 0; i < 4; ++i) {
            Source msText = src("X-MS-TEXT");
            msText.position = i + 1;
            const QByteArray n = QByteArray::number(i + 1);
            c[ChainUser1 + i] = {{Source("X-ZETTELWERK-USER" + n), Source("X-CUSTOM" + n), msText},
                                 "X-ZETTELWERK-USER" + n};
        }
        c[ChainLanguage] = {{src("LANG"), src("X-ZETTELWERK-LANGUAGE"), src("X-EVOLUTION-LANG")},
                            "X-ZETTELWERK-LANGUAGE",
                            "LANG"};
        Source hobby = src("HOBBY");
        hobby.joinAll = true;
        c[ChainHobby] = {
            {hobby, src("X-ZETTELWERK-HOBBY"), src("X-MS-INTERESTS"), src("X-EVOLUTION-HOBBY")},
            "X-ZETTELWERK-HOBBY",
            "HOBBY"};
        Source office = src("ADR");
        office.outlookOffice = true;
        office.component = 1;
        Source org3 = src("ORG");
        org3.component = 2;
        c[ChainOffice] = {
            {src("X-ZETTELWERK-OFFICE-LOCATION"), office, org3, src("X-KADDRESSBOOK-X-OFFICE")},
            "X-ZETTELWERK-OFFICE-LOCATION"};
        c[ChainAnniversary] = {
            {src("ANNIVERSARY"), src("X-ZETTELWERK-ANNIVERSARY"), src("X-MS-ANNIVERSARY"),
             src("X-EVOLUTION-ANNIVERSARY"), src("X-KADDRESSBOOK-X-ANNIVERSARY"),
             src("X-ANNIVERSARY"), src("X-WAB-WEDDING_ANNIVERSARY"),
             labelled("X-ABDATE",
                      {QStringLiteral("_$!<Anniversary>!$_"), QStringLiteral("Anniversary"),
                       QStringLiteral("Hochzeitstag"), QStringLiteral("Jahrestag")})},
            "X-ZETTELWERK-ANNIVERSARY",
            "ANNIVERSARY"};
        c[ChainGender] = {{src("GENDER"), src("X-ZETTELWERK-GENDER"), src("X-GENDER"),
                           src("X-WAB-GENDER"), src("X-EVOLUTION-GENDER")},
                          "X-ZETTELWERK-GENDER",
                          "GENDER"};
        Source relChild = related("child");
        relChild.joinAll = true;
        Source ownChildren = src("X-ZETTELWERK-CHILDREN");
        ownChildren.isList = true;
        Source msChild = src("X-MS-CHILD");
        msChild.joinAll = true;
        Source qtChildren = src("X-CHILDREN");
        qtChildren.isList = true;
        Source abChild = labelled("X-ABRELATEDNAMES",
                                  {QStringLiteral("_$!<Child>!$_"), QStringLiteral("Child")});
        abChild.joinAll = true;
        c[ChainChildren] = {{relChild, ownChildren, msChild, qtChildren, abChild},
                            "X-ZETTELWERK-CHILDREN",
                            {},
                            QStringLiteral("child")};
        return c;
    }();
    return chains[id];
}

// ---- Dates ---------------------------------------------------------------------------------

// Basic and extended forms, with or without time; "--MMDD" / "--MM-DD" and Apple's 1604
// mean "no year" (year 1604 here). Anything else is no date.
QDate parseDate(const QString& value)
{
    QString t = value.trimmed();
    const qsizetype tPos = t.indexOf(u'T');
    if (tPos >= 0)
        t.truncate(tPos);
    if (t.startsWith(u"--")) {
        QString md = t.mid(2);
        md.remove(u'-');
        if (md.size() != 4)
            return QDate();
        return QDate(1604, md.left(2).toInt(), md.mid(2).toInt());
    }
    QString digits = t;
    if (t.size() == 10 && t[4] == u'-' && t[7] == u'-')
        digits = t.left(4) + t.mid(5, 2) + t.mid(8, 2);
    if (digits.size() != 8)
        return QDate();
    for (QChar c : digits) {
        if (!c.isDigit())
            return QDate();
    }
    return QDate(digits.left(4).toInt(), digits.mid(4, 2).toInt(), digits.mid(6, 2).toInt());
}

QString formatDate(const QDate& d, VCardVersion version, bool basic)
{
    if (version == VCardVersion::V40 && d.year() == 1604)
        return d.toString(u"--MMdd");
    if (basic || version == VCardVersion::V40)
        return d.toString(u"yyyyMMdd");
    return d.toString(u"yyyy-MM-dd");
}

bool isUnsetDate(const QVariant& v)
{
    const QDate d = v.typeId() == QMetaType::QDateTime ? v.toDateTime().date() : v.toDate();
    return !d.isValid() || d == ContactItem::noDate();
}

QDate toDate(const QVariant& v)
{
    return v.typeId() == QMetaType::QDateTime ? v.toDateTime().date() : v.toDate();
}

int genderOf(const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return 0;
    const QChar c = t[0].toUpper();
    if (c == u'F' || t == u"1")
        return 1;
    if (c == u'M' || t == u"2")
        return 2;
    return 0;
}

QString genderText(const VCardProperty& line, int gender)
{
    if (line.isNamed("X-GENDER"))
        return gender == 1 ? QStringLiteral("Female") : QStringLiteral("Male");
    if (line.isNamed("X-WAB-GENDER"))
        return gender == 1 ? QStringLiteral("1") : QStringLiteral("2");
    return gender == 1 ? QStringLiteral("F") : QStringLiteral("M");
}

bool looksLikeLanguageTag(const QString& text)
{
    const QStringList parts = text.split(u'-');
    if (parts.first().size() < 2 || parts.first().size() > 3)
        return false;
    for (const QString& p : parts) {
        if (p.isEmpty() || p.size() > 8)
            return false;
        for (QChar c : p) {
            if (!(c.isLetterOrNumber() && c.unicode() < 128))
                return false;
        }
    }
    return true;
}

QStringList toStringList(const QVariant& v)
{
    if (v.typeId() == QMetaType::QStringList)
        return v.toStringList();
    QStringList out;
    QString text = v.toString();
    text.replace(u';', u',');
    for (const QString& s : text.split(u',')) {
        if (!s.trimmed().isEmpty())
            out.append(s.trimmed());
    }
    return out;
}

QString joined(const QStringList& values, QStringView sep)
{
    QStringList nonEmpty;
    for (const QString& v : values) {
        if (!v.trimmed().isEmpty())
            nonEmpty.append(v.trimmed());
    }
    return nonEmpty.join(sep);
}

// Outlook 2003 writes no X-MS- line. Its cards are 2.1, have no PRODID, a REV in the basic
// UTC form (20121012T210525Z), a LABEL beside each address and none of the marks other
// exporters leave. Many 3.0 writers also leave out PRODID and write such a REV; taking their
// cards for Outlook's would turn a "c/o" line into the office. So a 3.0 card must also carry
// Outlook's LABEL (as one written back by this program does), and a 4.0 card never counts.
bool looksLikeOldOutlook(const VCard& card)
{
    if (card.version() == VCardVersion::V40)
        return false;
    bool label = card.version() == VCardVersion::V21;
    bool basicRev = false;
    for (const VCardProperty& p : card.properties()) {
        if (p.malformed)
            continue;
        if (p.isNamed("PRODID"))
            return false;
        const QByteArray upper = p.name.toUpper();
        if (upper.startsWith("X-EVOLUTION-") || upper.startsWith("X-WAB-") ||
            upper.startsWith("X-KADDRESSBOOK-") || upper.startsWith("X-ANDROID"))
            return false;
        if (p.isNamed("REV")) {
            const QString rev = p.text().trimmed();
            basicRev = rev.size() == 16 && rev[8] == u'T' && rev.endsWith(u'Z') &&
                       !rev.contains(u'-') && !rev.contains(u':');
        }
        if (p.isNamed("LABEL"))
            label = true;
    }
    return basicRev && label;
}

bool prodIdNamesOutlook(const VCard& card)
{
    for (const VCardProperty& p : card.properties())
        if (!p.malformed && p.isNamed("PRODID") &&
            p.text().contains(QLatin1String("Outlook"), Qt::CaseInsensitive))
            return true;
    return false;
}

// Apple marks company cards with X-ABShowAs:COMPANY (KDE turns the name into
// X-ABShowAs-ABShowAs); their display name is the company.
bool isCompanyCard(const VCard& card)
{
    for (const VCardProperty& p : card.properties()) {
        if (!p.malformed && (p.isNamed("X-ABSHOWAS") || p.isNamed("X-ABSHOWAS-ABSHOWAS")) &&
            p.text().trimmed().compare(u"COMPANY", Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

bool isUserPropertyLine(const VCardProperty& p)
{
    return !p.malformed && p.name.size() >= 21 &&
           QByteArrayView(p.name).first(21).compare("X-ZETTELWERK-USERPROP", Qt::CaseInsensitive) ==
               0;
}

} // namespace

// ---- Classification of a card ----------------------------------------------------------

struct ContactItem::Mapping {
    int adr[AdrClassCount] = {-1, -1, -1};
    int tel[TelClassCount];
    QList<int> emails;
    int url[2] = {-1, -1};
    bool fromOutlook = false;
    Mapping() { std::fill(std::begin(tel), std::end(tel), -1); }
};

const ContactItem::Mapping& ContactItem::mapping() const
{
    if (m_mapping)
        return *m_mapping;
    auto m = std::make_shared<Mapping>();
    const auto& props = m_card.properties();

    auto byPreference = [&props](QList<int> idx) {
        std::stable_sort(idx.begin(), idx.end(), [&props](int a, int b) {
            return props[a].preference() < props[b].preference();
        });
        return idx;
    };

    QList<int> adrs, tels, emails, urls;
    for (int i = 0; i < props.size(); ++i) {
        const VCardProperty& p = props[i];
        if (p.malformed)
            continue;
        if (p.isNamed("ADR"))
            adrs.append(i);
        else if (p.isNamed("TEL") || p.isNamed("X-MS-TEL"))
            tels.append(i);
        else if (p.isNamed("EMAIL"))
            emails.append(i);
        else if (p.isNamed("URL"))
            urls.append(i);
        if (p.name.size() > 5 &&
            QByteArrayView(p.name).first(5).compare("X-MS-", Qt::CaseInsensitive) == 0)
            m->fromOutlook = true;
    }
    if (!m->fromOutlook)
        m->fromOutlook = looksLikeOldOutlook(m_card) || prodIdNamesOutlook(m_card);
    // Outlook writes no 4.0 cards.
    if (m_card.version() == VCardVersion::V40)
        m->fromOutlook = false;

    // Addresses.
    QList<int> adrClass[AdrClassCount];
    QList<int> untyped;
    for (int i : byPreference(adrs)) {
        const VCardProperty& p = props[i];
        if (p.hasType(u"WORK"))
            adrClass[Business].append(i);
        else if (p.hasType(u"HOME"))
            adrClass[Home].append(i);
        else if (p.hasType(u"OTHER") || p.hasType(u"POSTAL"))
            adrClass[Other].append(i);
        else if (!m_card.groupLabel(p.group).isEmpty())
            adrClass[Other].append(i);
        else
            untyped.append(i);
    }
    const bool typedBusiness = !adrClass[Business].isEmpty();
    for (int i : untyped)
        adrClass[typedBusiness ? Other : Business].append(i);
    for (int c = 0; c < AdrClassCount; ++c) {
        QList<int> sorted = byPreference(adrClass[c]);
        // Untyped addresses were appended last; order by preference, then file order.
        std::stable_sort(sorted.begin(), sorted.end(), [&props](int a, int b) {
            const int pa = props[a].preference(), pb = props[b].preference();
            return pa != pb ? pa < pb : a < b;
        });
        if (!sorted.isEmpty())
            m->adr[c] = sorted.first();
    }

    // Telephone numbers: the first rule that fits wins.
    auto take = [&m](int cls, int index) {
        if (m->tel[cls] < 0) {
            m->tel[cls] = index;
            return true;
        }
        return false;
    };
    auto labelClass = [](const QString& label) -> int {
        const QString l = label.toLower();
        if (l.contains(u"assistant"))
            return TelAssistant;
        if (l == u"_$!<main>!$_" || l == u"main" || l == u"companymain")
            return TelCompanyMain;
        if (l.contains(u"callback"))
            return TelCallback;
        if (l.contains(u"radio"))
            return TelRadio;
        if (l.contains(u"telex"))
            return TelTelex;
        if (l == u"_$!<car>!$_" || l == u"car")
            return TelCar;
        return -1;
    };
    for (int i : byPreference(tels)) {
        const VCardProperty& p = props[i];
        int vendor = -1;
        const bool msTel = p.isNamed("X-MS-TEL");
        for (const QString& t : p.types()) {
            if (msTel || t.startsWith(u"X-EVOLUTION-") || t.startsWith(u"X-ZETTELWERK-")) {
                const QString c = t.mid(t.lastIndexOf(u'-') + 1);
                if (c == u"ASSISTANT")
                    vendor = TelAssistant;
                else if (c == u"CALLBACK")
                    vendor = TelCallback;
                else if (c == u"COMPANY" || c == u"MAIN")
                    vendor = t.startsWith(u"X-") || msTel ? TelCompanyMain : vendor;
                else if (c == u"RADIO")
                    vendor = TelRadio;
                else if (c == u"TELEX")
                    vendor = TelTelex;
                else if (c == u"TTYTDD")
                    vendor = TelTtyTdd;
            } else if (t == u"MAIN") {
                vendor = TelCompanyMain;
            }
        }
        if (vendor < 0 && !p.group.isEmpty())
            vendor = labelClass(m_card.groupLabel(p.group));
        if (vendor >= 0) {
            take(vendor, i);
            continue;
        }
        if (msTel)
            continue; // an X-MS-TEL of a kind we do not know
        const bool work = p.hasType(u"WORK"), home = p.hasType(u"HOME");
        if (p.hasType(u"FAX")) {
            take(work ? TelBusinessFax : home ? TelHomeFax : TelOtherFax, i);
            continue;
        }
        if (p.hasType(u"CELL")) {
            take(TelMobile, i);
            continue;
        }
        if (p.hasType(u"PAGER")) {
            take(TelPager, i);
            continue;
        }
        if (p.hasType(u"CAR")) {
            take(TelCar, i);
            continue;
        }
        if (p.hasType(u"ISDN")) {
            take(TelIsdn, i);
            continue;
        }
        if (work && (take(TelBusiness, i) || take(TelBusiness2, i)))
            continue;
        if (!work && home && (take(TelHome, i) || take(TelHome2, i)))
            continue;
        take(TelOther, i);
    }

    m->emails = byPreference(emails);

    // Web pages: WORK, else the first untyped, unlabelled URL, else Apple's HomePage label.
    int untypedUrl = -1, homePageLabel = -1;
    for (int i : byPreference(urls)) {
        const VCardProperty& p = props[i];
        if (p.hasType(u"WORK")) {
            if (m->url[0] < 0)
                m->url[0] = i;
        } else if (p.hasType(u"HOME")) {
            if (m->url[1] < 0)
                m->url[1] = i;
        } else {
            const QString label = m_card.groupLabel(p.group);
            const QStringList types = p.types();
            if (label.isEmpty() &&
                (types.isEmpty() || types == QStringList{QStringLiteral("PREF")})) {
                if (untypedUrl < 0)
                    untypedUrl = i;
            } else if (label.compare(u"_$!<HomePage>!$_", Qt::CaseInsensitive) == 0 ||
                       label.compare(u"HomePage", Qt::CaseInsensitive) == 0) {
                if (homePageLabel < 0)
                    homePageLabel = i;
            }
        }
    }
    if (m->url[0] < 0)
        m->url[0] = untypedUrl >= 0 ? untypedUrl : homePageLabel;

    m_mapping = m;
    return *m_mapping;
}

// ---- Reading -------------------------------------------------------------------------------

namespace
{

struct Hit {
    int index = -1;
    QString text;
    const Source* source = nullptr;
    QList<int> all; // every line taken (joinAll)
};

bool sourceMatches(const VCard& card, const VCardProperty& p, const Source& s)
{
    if (p.malformed || !p.isNamed(s.name))
        return false;
    if (!s.relatedType.isEmpty() && !p.hasType(s.relatedType))
        return false;
    if (!s.labels.isEmpty()) {
        const QString label = card.groupLabel(p.group);
        bool any = false;
        for (const QString& l : s.labels)
            any = any || label.compare(l, Qt::CaseInsensitive) == 0;
        if (!any)
            return false;
    }
    return true;
}

QString lineValue(const VCardProperty& p, const Source& s)
{
    if (s.component >= 0) {
        const QStringList c = p.components();
        return s.component < c.size() ? c[s.component].trimmed() : QString();
    }
    if (s.firstListValue) {
        const QStringList l = p.list();
        return l.isEmpty() ? QString() : l.first().trimmed();
    }
    if (s.isList)
        return joined(p.list(), u", ");
    if (!s.relatedType.isEmpty()) {
        // KDE writes the name into the VALUE parameter: RELATED;TYPE=spouse;VALUE=Name:;
        const QString valueType = p.parameter("VALUE");
        const QString text = p.text().trimmed();
        if ((text.isEmpty() || text == u";") && !valueType.isEmpty() &&
            valueType.compare(u"text", Qt::CaseInsensitive) != 0 &&
            valueType.compare(u"uri", Qt::CaseInsensitive) != 0)
            return valueType;
        if (valueType.compare(u"uri", Qt::CaseInsensitive) == 0 || text.startsWith(u"urn:"))
            return QString(); // a reference to another card, not a name
        return text;
    }
    return p.text().trimmed();
}

} // namespace

static Hit findInChain(const VCard& card, int businessAdr, bool fromOutlook, int chainId)
{
    const auto& props = card.properties();
    for (const Source& s : chain(chainId).sources) {
        if (s.outlookOffice) {
            if (!fromOutlook || businessAdr < 0)
                continue;
            const QString v = lineValue(props[businessAdr], s);
            if (!v.isEmpty())
                return Hit{businessAdr, v, &s, {businessAdr}};
            continue;
        }
        int seen = 0;
        Hit hit;
        for (int i = 0; i < props.size(); ++i) {
            const VCardProperty& p = props[i];
            if (!sourceMatches(card, p, s))
                continue;
            ++seen;
            if (s.position > 0 && seen != s.position)
                continue;
            if (s.name == "LANG" && hit.index < 0) {
                // LANG may come several times with PREF: the most preferred.
                int best = -1;
                for (int j = 0; j < props.size(); ++j) {
                    if (sourceMatches(card, props[j], s) && !props[j].text().isEmpty() &&
                        (best < 0 || props[j].preference() < props[best].preference()))
                        best = j;
                }
                if (best >= 0)
                    return Hit{best, props[best].text().trimmed(), &s, {best}};
                break;
            }
            const QString v = lineValue(p, s);
            if (s.joinAll) {
                hit.all.append(i);
                if (!v.isEmpty()) {
                    if (hit.index < 0)
                        hit.index = i;
                    hit.text = hit.text.isEmpty() ? v : hit.text + QStringLiteral(", ") + v;
                }
                continue;
            }
            if (!v.isEmpty())
                return Hit{i, v, &s, {i}};
            if (s.position > 0)
                break;
        }
        if (hit.index >= 0) {
            hit.source = &s;
            return hit;
        }
    }
    return Hit{};
}

ContactItem::ContactItem() : m_card(VCardVersion::V30)
{
    ensureUid();
}

ContactItem::ContactItem(VCard card, QString location, int index)
    : m_card(std::move(card)), m_location(std::move(location)), m_index(index)
{
}

const QStringList& ContactItem::propertyNames()
{
    static const QStringList names = [] {
        QStringList n;
        for (const Field& f : kFields)
            n.append(QString::fromUtf16(f.name));
        return n;
    }();
    return names;
}

bool ContactItem::isKnownProperty(QStringView name)
{
    return fieldByName(name) != nullptr;
}

QVariant ContactItem::value(QStringView propertyName) const
{
    const Field* f = fieldByName(propertyName);
    if (!f)
        return QVariant();
    const auto& props = m_card.properties();
    const Mapping& m = mapping();
    auto chainHit = [&](int id) { return findInChain(m_card, m.adr[Business], m.fromOutlook, id); };

    switch (f->kind) {
    case Kind::NamePart: {
        const VCardProperty* n = m_card.find("N");
        if (!n)
            return QString();
        const QList<QStringList> c = n->structured();
        return f->a < c.size() ? joined(c[f->a], u" ") : QString();
    }
    case Kind::FullName: {
        // Without FN the name the writer will compose (FN is mandatory in 3.0 and 4.0).
        const VCardProperty* fn = m_card.find("FN");
        const QString text = fn ? fn->text().trimmed() : QString();
        return text.isEmpty() ? VCardWriter::composedFullName(m_card) : text;
    }
    case Kind::OrgPart: {
        // ORG has no value lists (RFC 2426 3.5.5, RFC 6350 6.6.4): an unescaped comma, as
        // in "Ximian, Inc." of old Evolution cards, is part of the name.
        const VCardProperty* org = m_card.find("ORG");
        if (!org)
            return QString();
        const QStringList c = org->components();
        return f->a < c.size() ? c[f->a].trimmed() : QString();
    }
    case Kind::AdrPart: {
        const int i = m.adr[f->a];
        if (i < 0)
            return QString();
        const QList<QStringList> c = props[i].structured();
        auto part = [&c](int k, QStringView sep) {
            return k < c.size() ? joined(c[k], sep) : QString();
        };
        if (f->b != 2)
            return part(f->b, u", ");
        QString street = part(2, u"\n");
        const bool outlookOffice = f->a == Business && m.fromOutlook;
        const QString extended = part(1, u"\n");
        if (!outlookOffice && !extended.isEmpty())
            street = street.isEmpty() ? extended : extended + u'\n' + street;
        return street;
    }
    case Kind::Phone: {
        const int i = m.tel[f->a];
        if (i < 0)
            return QString();
        QString number = props[i].text().trimmed();
        if (number.startsWith(u"tel:", Qt::CaseInsensitive))
            number = number.mid(4);
        return number;
    }
    case Kind::Email:
        return f->a < m.emails.size() ? props[m.emails[f->a]].text().trimmed() : QString();
    case Kind::Url: {
        const int i = m.url[f->a];
        return i >= 0 ? props[i].text().trimmed() : QString();
    }
    case Kind::Text:
        return chainHit(f->a).text;
    case Kind::Children:
        return chainHit(f->a).text;
    case Kind::Date: {
        const Hit h = chainHit(f->a);
        const QDate d = parseDate(h.text);
        return d.isValid() ? d : noDate();
    }
    case Kind::Birthday: {
        for (int i : m_card.indexesOf("BDAY")) {
            if (props[i].parameter("VALUE").compare(u"text", Qt::CaseInsensitive) == 0)
                continue;
            const QDate d = parseDate(props[i].text());
            if (d.isValid())
                return d;
        }
        return noDate();
    }
    case Kind::Gender:
        return genderOf(chainHit(f->a).text);
    case Kind::Categories: {
        QStringList out;
        for (int i : m_card.indexesOf("CATEGORIES")) {
            for (const QString& c : props[i].list()) {
                if (!c.trimmed().isEmpty())
                    out.append(c.trimmed());
            }
        }
        return out;
    }
    case Kind::FileAs:
        return names().fileAs;
    case Kind::EntryId:
        return entryId();
    case Kind::MessageClass:
        return QStringLiteral("IPM.Contact");
    }
    return QVariant();
}

ContactItem::Names ContactItem::names() const
{
    Names n;
    if (const VCardProperty* name = m_card.find("N")) {
        const QList<QStringList> c = name->structured();
        n.lastName = c.size() > 0 ? joined(c[0], u" ") : QString();
        n.firstName = c.size() > 1 ? joined(c[1], u" ") : QString();
    }
    if (const VCardProperty* org = m_card.find("ORG")) {
        const QStringList c = org->components();
        n.companyName = c.isEmpty() ? QString() : c[0].trimmed();
    }
    // The file-as lines need no classification of the card (no address source in the chain).
    const Hit h = findInChain(m_card, -1, false, ChainFileAs);
    if (!h.text.isEmpty()) {
        n.fileAs = h.text;
        return n;
    }
    // Outlook's default: "LastName, FirstName", else the company, else the full name.
    const QString& company = n.companyName;
    const QString& last = n.lastName;
    const QString& first = n.firstName;
    if (!company.isEmpty() && isCompanyCard(m_card))
        n.fileAs = company;
    else if (!last.isEmpty() || !first.isEmpty())
        n.fileAs = (!last.isEmpty() && !first.isEmpty()) ? last + QStringLiteral(", ") + first
                                                         : last + first;
    else
        n.fileAs = !company.isEmpty() ? company : value(u"FullName").toString();
    return n;
}

// ---- Writing -------------------------------------------------------------------------------

bool ContactItem::setValue(QStringView propertyName, const QVariant& v)
{
    const Field* f = fieldByName(propertyName);
    if (!f || f->kind == Kind::EntryId || f->kind == Kind::MessageClass)
        return false;
    const VCardVersion version =
        m_card.version() == VCardVersion::V40 ? VCardVersion::V40 : VCardVersion::V30;
    auto& props = m_card.properties();
    const Mapping m = mapping(); // a copy: the card changes below
    const QString text = v.toString();
    const bool clear = text.trimmed().isEmpty();

    auto structuredSet = [&](QByteArrayView name, int component, int minParts,
                             const QList<VCardProperty::Parameter>& params) {
        VCardProperty* p = m_card.find(name);
        if (!p) {
            if (clear)
                return;
            p = &m_card.append(VCardProperty(name.toByteArray(), QString(), params));
        }
        p->setComponent(component, text);
        QStringList parts;
        for (QStringView s : VCardText::splitEscaped(p->value, u';'))
            parts.append(s.toString());
        while (parts.size() < minParts)
            parts.append(QString());
        p->value = parts.join(u';');
        bool allEmpty = true;
        for (const QString& s : parts)
            allEmpty = allEmpty && s.isEmpty();
        if (allEmpty && name != "N")
            m_card.removeAll(name);
    };

    switch (f->kind) {
    case Kind::NamePart:
        structuredSet("N", f->a, 5, {});
        break;
    case Kind::FullName:
        if (clear)
            m_card.removeAll("FN");
        else if (VCardProperty* fn = m_card.find("FN"))
            fn->setText(text);
        else
            m_card.append(VCardProperty("FN", VCardText::escape(text)));
        break;
    case Kind::OrgPart:
        structuredSet("ORG", f->a, 2, {});
        break;
    case Kind::AdrPart: {
        int i = m.adr[f->a];
        if (i < 0) {
            if (clear)
                break;
            static const char* const types[] = {"WORK", "HOME", "OTHER"};
            m_card.append(VCardProperty("ADR", QStringLiteral(";;;;;;"),
                                        {{"TYPE", QString::fromLatin1(types[f->a])}}));
            i = int(props.size()) - 1;
        }
        VCardProperty& p = props[i];
        p.setComponent(f->b, text);
        // The street we showed included the extended address (unless it is Outlook's
        // office): the whole new street goes into the street component.
        if (f->b == 2 && !(f->a == Business && m.fromOutlook))
            p.setComponent(1, QString());
        QStringList parts = p.components();
        while (parts.size() < 7)
            parts.append(QString());
        if (parts.join(QString()).trimmed().isEmpty())
            m_card.removeAt(i);
        break;
    }
    case Kind::Phone: {
        const int i = m.tel[f->a];
        // Business/Home and their "2" are positional: deleting the first would move the
        // second up on the next read, so the first keeps an empty line then.
        const int next = f->a == TelBusiness ? m.tel[TelBusiness2]
                         : f->a == TelHome   ? m.tel[TelHome2]
                                             : -1;
        if (i >= 0) {
            if (clear && next >= 0) {
                props[i].setText(QString());
            } else if (clear) {
                m_card.removeAt(i);
            } else {
                props[i].removeParameter("VALUE");
                props[i].setText(text);
            }
        } else if (!clear) {
            m_card.append(VCardProperty("TEL", VCardText::escape(text),
                                        {{"TYPE", QString::fromLatin1(kTelTypes[f->a])}}));
        }
        break;
    }
    case Kind::Email: {
        if (f->a < m.emails.size()) {
            if (clear && f->a + 1 < m.emails.size())
                props[m.emails[f->a]].setText(QString()); // positional, as above
            else if (clear)
                m_card.removeAt(m.emails[f->a]);
            else
                props[m.emails[f->a]].setText(text);
        } else if (!clear) {
            QList<VCardProperty::Parameter> params;
            if (version == VCardVersion::V40) {
                if (f->a == 0)
                    params.append({"PREF", QStringLiteral("1")});
            } else {
                params.append({"TYPE", f->a == 0 && m.emails.isEmpty()
                                           ? QStringLiteral("INTERNET,PREF")
                                           : QStringLiteral("INTERNET")});
            }
            m_card.append(VCardProperty("EMAIL", VCardText::escape(text), params));
        }
        break;
    }
    case Kind::Url: {
        const int i = m.url[f->a];
        if (i >= 0) {
            if (clear)
                m_card.removeAt(i);
            else
                props[i].setText(text);
        } else if (!clear) {
            m_card.append(VCardProperty(
                "URL", VCardText::escape(text),
                {{"TYPE", f->a == 0 ? QStringLiteral("WORK") : QStringLiteral("HOME")}}));
        }
        break;
    }
    case Kind::Birthday: {
        const bool unset = isUnsetDate(v);
        QList<int> lines = m_card.indexesOf("BDAY");
        if (unset) {
            m_card.removeAll("BDAY");
            break;
        }
        const QDate d = toDate(v);
        VCardProperty line("BDAY", formatDate(d, version, false));
        if (version == VCardVersion::V30 && d.year() == 1604)
            line.parameters.append({"X-APPLE-OMIT-YEAR", QStringLiteral("1604")});
        if (!lines.isEmpty()) {
            // Replace the first, drop alternatives (4.0 ALTID) that would contradict it.
            for (int k = int(lines.size()) - 1; k > 0; --k)
                m_card.removeAt(lines[k]);
            line.group = props[lines[0]].group;
            props[lines[0]] = line;
            props[lines[0]].modified = true;
        } else {
            m_card.append(line);
        }
        break;
    }
    case Kind::Categories: {
        const QStringList list = toStringList(v);
        QList<int> lines = m_card.indexesOf("CATEGORIES");
        for (int k = int(lines.size()) - 1; k > 0; --k)
            m_card.removeAt(lines[k]);
        if (list.isEmpty()) {
            m_card.removeAll("CATEGORIES");
        } else if (!lines.isEmpty()) {
            props[lines[0]].setList(list);
        } else {
            VCardProperty p("CATEGORIES", QString());
            p.setList(list);
            m_card.append(p);
        }
        break;
    }
    case Kind::FileAs:
    case Kind::Text:
    case Kind::Date:
    case Kind::Gender:
    case Kind::Children: {
        const int chainId = f->kind == Kind::FileAs ? int(ChainFileAs) : f->a;
        const ChainDef& def = chain(chainId);
        QString newText = text;
        bool isClear = clear;
        QDate date;
        int gender = 0;
        if (f->kind == Kind::Date) {
            isClear = isUnsetDate(v);
            date = toDate(v);
        } else if (f->kind == Kind::Gender) {
            gender = v.toInt();
            isClear = gender != 1 && gender != 2;
        }
        const Hit hit = findInChain(m_card, m.adr[Business], m.fromOutlook, chainId);

        if (isClear) {
            // Every alias goes, or the old value comes back from the next one.
            for (int i = int(props.size()) - 1; i >= 0; --i) {
                for (const Source& s : def.sources) {
                    if (s.outlookOffice) {
                        if (i == m.adr[Business] && m.fromOutlook)
                            props[i].setComponent(1, QString());
                        continue;
                    }
                    if (!sourceMatches(m_card, props[i], s))
                        continue;
                    if (s.position > 0) {
                        // Only the n-th line of that name is ours; the others hold other fields.
                        int seen = 0;
                        for (int j = 0; j <= i; ++j)
                            seen += sourceMatches(m_card, props[j], s) ? 1 : 0;
                        if (seen != s.position)
                            continue;
                    }
                    if (s.component >= 0)
                        props[i].setComponent(s.component, QString());
                    else if (s.name == "X-MS-TEXT")
                        props[i].setText(QString()); // positional: keep the slot
                    else
                        m_card.removeAt(i);
                    break;
                }
            }
            break;
        }

        auto valueFor = [&](const VCardProperty& line, bool basicDate) {
            if (f->kind == Kind::Date)
                return formatDate(date, version, basicDate);
            if (f->kind == Kind::Gender)
                return genderText(line, gender);
            return VCardText::escape(newText);
        };

        if (hit.index >= 0 && !hit.source->joinAll) {
            VCardProperty& line = props[hit.index];
            if (hit.source->component >= 0) {
                line.setComponent(hit.source->component, newText);
            } else if (hit.source->isList || f->kind == Kind::Children) {
                line.setList(toStringList(newText));
            } else {
                const bool basic = !line.text().contains(u'-');
                if (!hit.source->relatedType.isEmpty())
                    line.setParameter("VALUE", QStringLiteral("text"));
                line.value = valueFor(line, basic);
                line.modified = true;
            }
            break;
        }
        // Several lines (one per child or hobby) or none: write the value afresh.
        if (hit.index >= 0) {
            for (int k = int(hit.all.size()) - 1; k >= 0; --k)
                m_card.removeAt(hit.all[k]);
        }
        const QByteArray repeatName =
            hit.index >= 0 && hit.source->relatedType.isEmpty() && hit.source->labels.isEmpty()
                ? hit.source->name
                : QByteArray();
        if (f->kind == Kind::Children || (repeatName == "HOBBY")) {
            const QStringList items =
                f->kind == Kind::Children ? toStringList(newText) : QStringList{newText};
            if (!repeatName.isEmpty() ||
                (version == VCardVersion::V40 && !def.related40.isEmpty())) {
                for (const QString& item : items) {
                    if (!repeatName.isEmpty()) {
                        m_card.append(VCardProperty(repeatName, VCardText::escape(item)));
                    } else {
                        m_card.append(VCardProperty(
                            "RELATED", VCardText::escape(item),
                            {{"TYPE", def.related40}, {"VALUE", QStringLiteral("text")}}));
                    }
                }
            } else {
                VCardProperty p(def.own, QString());
                p.setList(items);
                m_card.append(p);
            }
            break;
        }
        if (version == VCardVersion::V40 && !def.related40.isEmpty()) {
            m_card.append(
                VCardProperty("RELATED", VCardText::escape(newText),
                              {{"TYPE", def.related40}, {"VALUE", QStringLiteral("text")}}));
            break;
        }
        QByteArray name = def.own;
        if (version == VCardVersion::V40 && !def.standard40.isEmpty() &&
            (chainId != ChainLanguage || looksLikeLanguageTag(newText)))
            name = def.standard40;
        VCardProperty p(name, QString());
        p.value = valueFor(p, false);
        m_card.append(p);
        break;
    }
    case Kind::EntryId:
    case Kind::MessageClass:
        return false;
    }
    invalidate();
    return true;
}

// ---- Identity ------------------------------------------------------------------------------

QString ContactItem::entryIdForLocation(const QString& location, int index)
{
    const QByteArray hash =
        QCryptographicHash::hash(location.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    return QStringLiteral("LOC:") + QString::fromLatin1(hash) + u':' + QString::number(index);
}

QString ContactItem::entryId() const
{
    if (const VCardProperty* uid = m_card.find("UID")) {
        const QString text = uid->text().trimmed();
        if (!text.isEmpty())
            return QStringLiteral("UID:") + text;
    }
    if (m_location.isEmpty())
        return QString();
    return entryIdForLocation(m_location, m_index);
}

void ContactItem::ensureUid()
{
    if (const VCardProperty* uid = m_card.find("UID"); uid && !uid->text().trimmed().isEmpty())
        return;
    m_card.removeAll("UID");
    QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (m_card.version() == VCardVersion::V40)
        id = QStringLiteral("urn:uuid:") + id;
    m_card.append(VCardProperty("UID", id));
    invalidate();
}

// ---- User properties -----------------------------------------------------------------------

namespace
{

QString userPropertyName(const VCardProperty& p)
{
    const QString name = p.parameter("X-ZETTELWERK-NAME");
    if (!name.isEmpty())
        return name;
    // Without the parameter the slug is all there is.
    return QString::fromUtf8(p.name.mid(22));
}

int findUserProperty(const VCard& card, QStringView name)
{
    const auto& props = card.properties();
    for (int i = 0; i < props.size(); ++i) {
        if (isUserPropertyLine(props[i]) &&
            userPropertyName(props[i]).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

} // namespace

QStringList ContactItem::userPropertyNames() const
{
    QStringList names;
    for (const VCardProperty& p : m_card.properties()) {
        if (isUserPropertyLine(p))
            names.append(userPropertyName(p));
    }
    return names;
}

bool ContactItem::hasUserProperty(QStringView name) const
{
    return findUserProperty(m_card, name) >= 0;
}

std::optional<ContactUserProperty> ContactItem::userProperty(QStringView name) const
{
    const int i = findUserProperty(m_card, name);
    if (i < 0)
        return std::nullopt;
    const VCardProperty& line = m_card.properties()[i];
    ContactUserProperty out;
    out.name = userPropertyName(line);
    out.typeToken = line.parameter("X-ZETTELWERK-TYPE");
    out.type = ContactUserProperty::typeOf(out.typeToken);
    out.value = ContactUserProperty::decodeValue(line, out.type);
    return out;
}

void ContactItem::setUserProperty(const ContactUserProperty& property)
{
    const VCardVersion version =
        m_card.version() == VCardVersion::V40 ? VCardVersion::V40 : VCardVersion::V30;
    bool known = false;
    ContactUserProperty::typeOf(property.typeToken, &known);
    // An unknown token read from the card stays as it was; otherwise the type's token.
    const QString token =
        !property.typeToken.isEmpty() && !known && property.type == ContactUserProperty::Type::Text
            ? property.typeToken
            : ContactUserProperty::tokenOf(property.type);
    const int i = findUserProperty(m_card, property.name);
    if (i >= 0) {
        VCardProperty& line = m_card.properties()[i];
        line.setParameter("X-ZETTELWERK-NAME", property.name);
        line.setParameter("X-ZETTELWERK-TYPE", token);
        line.value = property.encodedValue(version);
        line.modified = true;
    } else {
        const QByteArray name =
            "X-ZETTELWERK-USERPROP-" + ContactUserProperty::slug(property.name).toUtf8();
        m_card.append(
            VCardProperty(name, property.encodedValue(version),
                          {{"X-ZETTELWERK-NAME", property.name}, {"X-ZETTELWERK-TYPE", token}}));
    }
    invalidate();
}

bool ContactItem::removeUserProperty(QStringView name)
{
    const int i = findUserProperty(m_card, name);
    if (i < 0)
        return false;
    m_card.removeAt(i);
    invalidate();
    return true;
}

void ContactItem::applyUserPropertyCatalogue(const QList<ContactUserProperty>& catalogue)
{
    for (VCardProperty& line : m_card.properties()) {
        if (!isUserPropertyLine(line))
            continue;
        const bool hasName = !line.parameter("X-ZETTELWERK-NAME").isEmpty();
        const bool hasType = !line.parameter("X-ZETTELWERK-TYPE").isEmpty();
        if (hasName && hasType)
            continue;
        const QString slug = hasName
                                 ? ContactUserProperty::slug(line.parameter("X-ZETTELWERK-NAME"))
                                 : QString::fromUtf8(line.name.mid(22)).toUpper();
        for (const ContactUserProperty& def : catalogue) {
            if (ContactUserProperty::slug(def.name) != slug)
                continue;
            if (!hasName)
                line.setParameter("X-ZETTELWERK-NAME", def.name);
            if (!hasType)
                line.setParameter("X-ZETTELWERK-TYPE", ContactUserProperty::tokenOf(def.type));
            break;
        }
    }
    invalidate();
}
