// The modules by the names under which they report. A source says which one it is:
//
//     constexpr auto kModule = molte::kOxmnpath;
#pragma once

#include "core/report.h"

namespace molte {

inline constexpr Module kMoltevar("moltevar");
inline constexpr Module kOappconn("oappconn");
inline constexpr Module kOarray("oarray");
inline constexpr Module kOcollate("ocollate");
inline constexpr Module kOconvbar("oconvbar");
inline constexpr Module kOfilehop("ofilehop");
inline constexpr Module kOfilemap("ofilemap");
inline constexpr Module kOfilepkg("ofilepkg");
inline constexpr Module kOftpbase("oftpbase");
inline constexpr Module kOftplib("oftplib");
inline constexpr Module kOidrange("oidrange");
inline constexpr Module kOitempkg("oitempkg");
inline constexpr Module kOlinebuf("olinebuf");
inline constexpr Module kOnobfile("onobfile");
inline constexpr Module kOreslock("oreslock");
inline constexpr Module kOrvexerr("orvexerr");
inline constexpr Module kOrvexlck("orvexlck");
inline constexpr Module kOtxthook("otxthook");
inline constexpr Module kOxdatcnv("oxdatcnv");
inline constexpr Module kOxdirop("oxdirop");
inline constexpr Module kOxdskinf("oxdskinf");
inline constexpr Module kOxerrlog("oxerrlog");
inline constexpr Module kOxfileop("oxfileop");
inline constexpr Module kOxfname("oxfname");
inline constexpr Module kOximgop("oximgop");
inline constexpr Module kOxipc("oxipc");
inline constexpr Module kOxlang("oxlang");
inline constexpr Module kOxmnpath("oxmnpath");
inline constexpr Module kOxparam("oxparam");
inline constexpr Module kOxpinyin("oxpinyin");
inline constexpr Module kOxshmem("oxshmem");
inline constexpr Module kOxsockop("oxsockop");
inline constexpr Module kOxstring("oxstring");
inline constexpr Module kOxsysop("oxsysop");
inline constexpr Module kOxsysutl("oxsysutl");
inline constexpr Module kOxthrdat("oxthrdat");
inline constexpr Module kOxthrdop("oxthrdop");
inline constexpr Module kParamadm("paramadm");
inline constexpr Module kRcxmlpro("rcxmlpro");

}  // namespace molte
