#include "module/data/dm_BasicData.h"

using namespace Qt::Literals::StringLiterals;

Tdm_BasicData* dm_BasicData = nullptr;

Tdm_BasicData::Tdm_BasicData(QObject* owner)
    : QObject(owner)
    , temp(new TSocketConnectionEx(this))
    , comm(new TClientDataSetEx(this, u"comm"_s))
    , comm1(new TClientDataSetEx(this, u"comm1"_s))
    , comm2(new TClientDataSetEx(this, u"comm2"_s))
{
    setObjectName(u"dm_BasicData"_s);
    temp->setObjectName(u"temp"_s);
    temp->ServerGUID = u"{BC5C4BED-0B86-46A0-ACD7-B03EAF3608BE}"_s;
    temp->ServerName = u"ScktSrvr.Pooler8866"_s;
    temp->Port = 8866;
    // Encrypted, and never decrypted here: at run time the host's own login counts.
    temp->LoginUser = u"6B1F94D2A07E35C8"_s;
    temp->LoginPassword = u"D9E2473A580BC61F"_s;
    for (TClientDataSetEx* command : {comm, comm1, comm2})
        command->SetRemoteServer(temp);
}
