// The tables that follow from the orders: goods lines, waybills, tracking messages.
#include "demo/Orders.h"
#include "demo/Random.h"
#include "demo/TableWriter.h"

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

constexpr int kCategories = 9;

const QString kGoods[kCategories][6] = {
    {u"合同文件"_s, u"标书"_s, u"图纸"_s, u"发票"_s, u"证件"_s, u"画册"_s},
    {u"电饭煲"_s, u"平板电脑"_s, u"蓝牙音箱"_s, u"显示器"_s, u"电风扇"_s, u"路由器"_s},
    {u"男士衬衫"_s, u"运动鞋"_s, u"双肩包"_s, u"打印纸"_s, u"连衣裙"_s, u"行李箱"_s},
    {u"护肤套装"_s, u"面膜"_s, u"洗发水"_s, u"口红"_s, u"香水"_s, u"沐浴露"_s},
    {u"手表"_s, u"银手镯"_s, u"太阳镜"_s, u"珍珠项链"_s, u"玉坠"_s, u"戒指"_s},
    {u"黄山毛峰"_s, u"坚果礼盒"_s, u"奶粉"_s, u"蜂蜜"_s, u"大米"_s, u"保健品"_s},
    {u"青花瓷瓶"_s, u"紫砂茶具"_s, u"木雕摆件"_s, u"不锈钢锅"_s, u"刺绣挂画"_s, u"陶瓷餐具"_s},
    {u"积木"_s, u"遥控汽车"_s, u"毛绒玩具"_s, u"吉他"_s, u"口琴"_s, u"拼图"_s},
    {u"汽车配件"_s, u"五金工具"_s, u"床上用品"_s, u"折叠桌"_s, u"灯具"_s, u"花盆"_s},
};
const QString kItemRemarks[] = {u"易碎"_s, u"红色"_s, u"大号"_s, u"赠品"_s, u"勿压"_s, u"原包装"_s};

qint64 Minutes(qint64 least, qint64 most, Random& random)
{
    return random.Between(least * 60, most * 60);
}

class InstructionWriter {
public:
    InstructionWriter(const wire::DateTime& now, company::RowSink& sink)
        : now_(now)
        , writer_(sink, u"tab_zelmor_instruction")
    {
    }

    void Follow(const OrderTrace& trace)
    {
        Random random(trace.seed ^ 0x5A5A5A5AULL);
        trace_ = &trace;
        random_ = &random;
        if (trace.source == Source::Yunbotong)
            FollowPlatform();
        else
            FollowMarketplace();
        trace_ = nullptr;
        random_ = nullptr;
    }
    void End() { writer_.End(); }

private:
    void FollowMarketplace()
    {
        const OrderTrace& trace = *trace_;
        if (trace.status == company::kStatusRefused) {
            Say(u"UNACCEPT"_s, trace.accepted);
            return;
        }
        if (trace.accepted != 0)
            Say(u"ACCEPT"_s, trace.accepted);
        if (trace.status == company::kStatusPickupFailed)
            Say(u"NOT_SEND"_s, trace.cancelled);
        // The pickup of a few orders has not been reported yet: those may still be revoked.
        else if (trace.pickedUp != 0 && !(trace.status == company::kStatusPickedUp && random_->Chance(250)))
            Say(u"GOT"_s, trace.pickedUp);
        if (trace.status == company::kStatusDelivered)
            Say(u"SIGNED"_s, trace.delivered);
        else if (trace.status == company::kStatusDeliveryFailed)
            Say(u"FAILED"_s, trace.delivered);
    }

    void FollowPlatform()
    {
        const OrderTrace& trace = *trace_;
        if (trace.pickedUp == 0 || trace.status == company::kStatusPickupFailed)
            return;
        Say(u"TMS_ACCEPT"_s, trace.pickedUp);
        if (trace.status == company::kStatusPickedUp)
            return;
        const qint64 out = trace.pickedUp + Minutes(60, 180, *random_);
        Say(u"TMS_STATION_OUT"_s, out);
        if (random_->Chance(40))
            Say(u"TMS_ERROR"_s, out + Minutes(30, 90, *random_));
        if (trace.delivered == 0)
            return;
        const qint64 delivering = trace.delivered - Minutes(40, 200, *random_);
        Say(u"TMS_STATION_IN"_s, delivering - Minutes(20, 90, *random_));
        Say(u"TMS_DELIVERING"_s, delivering);
        if (trace.status == company::kStatusDeliveryFailed) {
            Say(u"TMS_FAILED"_s, trace.delivered);
            return;
        }
        if (trace.collects)
            Say(u"TMS_PAY"_s, trace.delivered - 20);
        Say(u"TMS_SIGN"_s, trace.delivered);
    }

    // A message that the order's source gets some seconds later, unless it could not be reached.
    void Say(const QString& code, qint64 moment)
    {
        if (moment == 0 || moment > now_.seconds)
            return;
        qint64 flag = random_->Chance(12) ? -1 : 1;
        const qint64 posted = moment + random_->Between(2, 240);
        if (posted > now_.seconds)
            flag = 0;
        writer_.Row({++id_, trace_->logisticId, wire::TextValue(trace_->billCode), code,
            wire::DateTime{moment}, flag, flag == 0 ? wire::Value{} : wire::DateTime{posted}});
    }

    wire::DateTime now_;
    TableWriter writer_;
    qint64 id_ = 0;
    const OrderTrace* trace_ = nullptr;
    Random* random_ = nullptr;
};

} // namespace

int ItemList::Pieces() const
{
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += items[i].pieces;
    return sum;
}

ItemList ItemsOf(quint64 seed)
{
    Random random(seed);
    ItemList list;
    list.category = static_cast<int>(random.Below(kCategories));
    const auto roll = random.Below(10);
    list.count = roll < 4 ? 1 : roll < 7 ? 2 : roll < 9 ? 3 : 4;
    const auto first = random.Below(6);
    for (int i = 0; i < list.count; ++i) {
        list.items[i].name = &kGoods[list.category][(first + i) % 6];
        list.items[i].pieces = static_cast<int>(1 + random.Below(3));
        if (random.Chance(200))
            list.items[i].remark = &random.Pick(kItemRemarks);
    }
    return list;
}

void WriteItems(const std::vector<OrderTrace>& traces, company::RowSink& sink)
{
    TableWriter writer(sink, u"TAB_ZELMOR_BILL_ITEMS");
    qint64 id = 0;
    for (const OrderTrace& trace : traces) {
        const ItemList list = ItemsOf(trace.seed);
        for (int i = 0; i < list.count; ++i) {
            const Item& item = list.items[i];
            writer.Row({++id, trace.logisticId, *item.name, qint64{item.pieces},
                item.remark != nullptr ? wire::Value{*item.remark} : wire::Value{}});
        }
    }
    writer.End();
}

void WriteWaybills(const std::vector<OrderTrace>& traces, company::RowSink& sink)
{
    TableWriter writer(sink, u"tab_bill");
    for (const OrderTrace& trace : traces) {
        if (trace.registerSite.isEmpty())
            continue;
        Random random(trace.seed ^ 0xB111ULL);
        const wire::Value payment = random.Chance(50)
            ? wire::Value{}
            : wire::Value{static_cast<double>(random.Between(800, 48'000)) / 100};
        const qint64 entered = trace.pickedUp != 0 ? trace.pickedUp : trace.created;
        writer.Row({trace.billCode, trace.logisticId, payment, trace.registerSite, trace.registerMan,
            wire::DateTime{entered + 60}});
    }
    writer.End();
}

void WriteInstructions(
    const std::vector<OrderTrace>& traces, const wire::DateTime& now, company::RowSink& sink)
{
    InstructionWriter writer(now, sink);
    for (const OrderTrace& trace : traces) {
        if (trace.source != Source::Manual)
            writer.Follow(trace);
    }
    writer.End();
}

} // namespace demo
