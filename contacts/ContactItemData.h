#pragma once

#include <QString>

// The data of one contact as the found-contacts list, its preview and the export read it in
// one go (ContactFields::GetItemData). The members keep the names the rest of the system
// uses for them. Only the business address is read. sRemarks is never filled: it keeps
// whatever the caller put there.
struct ContactItemData {
    QString sSaveAs;
    QString sFirstName;
    QString sLastName;
    QString sTitle;
    QString sCompany1;
    QString sCompany2;
    QString sCompany3;
    QString sDepartment;
    // Empty for "Deutschland": a domestic address carries no country.
    QString sCountry;
    QString sStreet;
    QString sZip;
    QString sCity;
    QString sPhone;
    QString sFax;
    QString sPosition;
    QString sCalendarGifts;
    QString sOtherGifts;
    QString sVgDepartments;
    QString sSign;
    QString sRemarks;
    QString sClassification;
    QString sCustomerNumber;
    QString sCustomerType;
    QString sIdCode;
    QString sCalendarCode;
    QString sEMail;
    QString sFairInvocation;
    QString sMailing;
    QString sEntryID;
};
