// Two servers over one database: what one of them began, the other knows.

#include "demo/Generator.h"
#include "tests/support/Desk.h"
#include "tests/support/RowKeeper.h"
#include "tests/support/ServerProcess.h"

#include "runtime/data/TcpTransport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kRows = u"select a.* from tab_zelmor_bill a where rownum<=5"_s;

// Keeps the last save, to send it again.
class Recorder : public wire::Transport {
public:
    Recorder(std::unique_ptr<wire::Transport> way, wire::Request& last)
        : way_(std::move(way))
        , last_(last)
    {
    }
    void Connect() override { way_->Connect(); }
    int ServerCount() const noexcept override { return way_->ServerCount(); }
    void Disconnect() noexcept override { way_->Disconnect(); }
    bool IsConnected() const noexcept override { return way_->IsConnected(); }
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind == wire::RequestKind::ApplyUpdates)
            last_ = request;
        return way_->Exchange(request, sink);
    }

private:
    std::unique_ptr<wire::Transport> way_;
    wire::Request& last_;
};

} // namespace

TEST(Takeover, TheOtherServerGoesOnAndKnowsWhatWasSaved)
{
    const QTemporaryDir folder;
    ServerProcess first(folder.path(), {u"--demo"_s, u"small"_s});
    const ServerProcess second(folder.path());
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, first.Port()}, {u"127.0.0.1"_s, second.Port()}};
    wire::Request lastSave;
    Desk desk(first.Port(), DemoAccountOf());
    desk.connection.SetTransport(std::make_unique<Recorder>(MakeTcpTransport(way), lastSave));
    desk.connection.Open(DemoAccountOf(), demo::DemoPassword());
    desk.Open(kRows);
    const auto audited = [&] {
        return AskDatabase(folder.path(), u"select count(*) from zelmor_audit"_s)[0][0].toInt();
    };
    const int before = audited();
    desk.MarkAll(u"第一台"_s);
    desk.orders.ApplyUpdates(-1);
    ASSERT_EQ(audited() - before, 5);

    // Nobody at the desk notices.
    first.Kill();
    desk.MarkAll(u"第二台"_s);
    desk.orders.ApplyUpdates(-1);
    EXPECT_EQ(desk.orders.ChangeCount(), 0);
    EXPECT_EQ(audited() - before, 10);

    // The answer that the second gave, asked for again at the first, which knows it from the database.
    first.Start();
    Desk other(first.Port(), DemoAccountOf());
    RowKeeper nothing;
    const wire::ApplyOutcome outcome = other.connection.Send(lastSave, nothing).outcome;
    EXPECT_EQ(outcome.rows.size(), 5u);
    EXPECT_EQ(outcome.Rejected(), 0);
    EXPECT_EQ(audited() - before, 10);
}
