#pragma once

#include <QString>

// What the server says to users, after the screen's own "详细：". One place, so that the clerks' language
// stays of one piece.
namespace server::texts {

// Storage. Each says what to do next; the system's own reason follows in brackets.
inline QString DiskFull()
{
    return QStringLiteral("数据库所在磁盘空间不足，数据没有保存，请清理磁盘后重试！");
}
inline QString DiskAlmostFull()
{
    return QStringLiteral("数据库所在磁盘剩余空间不足，数据没有保存，请系统管理员清理磁盘后重试！");
}
inline QString ReadOnly()
{
    return QStringLiteral("数据库文件或文件夹只读，请检查其写入权限后重试！");
}
inline QString CannotOpen()
{
    return QStringLiteral("不能打开数据库文件，请检查文件夹是否存在及其权限！");
}
inline QString Busy()
{
    return QStringLiteral("数据库正被其他程序占用，请稍后重试！");
}
inline QString Damaged()
{
    return QStringLiteral("数据库文件已损坏，请停止使用并从备份恢复！");
}
inline QString ReadFault()
{
    return QStringLiteral("读写数据库文件出错，请检查磁盘后重试！");
}
inline QString OutOfMemory()
{
    return QStringLiteral("内存不足，请缩小查询范围或关闭其他程序后重试！");
}
inline QString DatabaseError()
{
    return QStringLiteral("数据库出错！");
}
inline QString ConstraintBroken()
{
    return QStringLiteral("数据不符合数据库的约束！");
}
inline QString CannotMakeFolder(const QString& folder)
{
    return QStringLiteral("不能建立数据文件夹“%1”，请检查路径及其权限！").arg(folder);
}
inline QString NotOurDatabase(const QString& file)
{
    return QStringLiteral("文件“%1”不是本系统的数据库，请更换数据文件夹或从备份恢复！").arg(file);
}
inline QString NewerDatabase(const QString& version)
{
    return QStringLiteral("数据库由更新的版本（%1）建立，请升级本程序！").arg(version);
}
inline QString BeingCreated()
{
    return QStringLiteral("数据库正由另一程序建立，请稍后重试！");
}
inline QString CannotFinishDatabase(const QString& file)
{
    return QStringLiteral("不能写入数据库文件“%1”，请检查文件夹权限后重试！").arg(file);
}

// Limits
inline QString TooManyRows(qint64 limit)
{
    return QStringLiteral("查询结果超过%1行，请缩小查询范围！").arg(limit);
}
inline QString RowTooLong()
{
    return QStringLiteral("查询结果里有一行过长，请减少查询的列！");
}
inline QString TimeOver(int seconds)
{
    return QStringLiteral("执行时间超过%1秒，已停止，请缩小查询范围！").arg(seconds);
}
inline QString Cancelled()
{
    return QStringLiteral("已取消");
}
inline QString ServerBusy(int seconds)
{
    return QStringLiteral("服务器繁忙，等待%1秒后仍未轮到，请稍后重试！").arg(seconds);
}
inline QString Interrupted()
{
    return QStringLiteral("操作已被中断！");
}

// Policy
inline QString LoginFirst()
{
    return QStringLiteral("请先登录！");
}
inline QString TableClosed(const QString& table)
{
    return QStringLiteral("不允许访问表%1！").arg(table);
}
inline QString TableReadOnly(const QString& table)
{
    return QStringLiteral("不允许修改表%1！").arg(table);
}
inline QString QueryExpected()
{
    return QStringLiteral("此处只能执行查询语句！");
}
inline QString UpdateExpected()
{
    return QStringLiteral("此处只能执行修改语句！");
}
inline QString ReaderOnly()
{
    return QStringLiteral("该账号只能查询，不能修改数据！");
}
inline QString StatementsClosed()
{
    return QStringLiteral("该账号不允许执行修改语句！");
}
inline QString GuardMissing(const QString& column)
{
    return QStringLiteral("查询结果中缺少列%1，不能判断订单所属网点，不能保存！").arg(column);
}
inline QString ForeignOrder()
{
    return QStringLiteral("该订单不属于本网点及其下属网点，不能修改！");
}
inline QString ForeignSite(const QString& column, const QString& site)
{
    return QStringLiteral("“%1”不能填写其他网点“%2”！").arg(column, site);
}
inline QString ForeignStamp(const QString& column, const QString& value)
{
    return QStringLiteral("“%1”只能填写本人及本网点，不能填写“%2”！").arg(column, value);
}
inline QString StampMissing(const QString& column)
{
    return QStringLiteral("新订单必须填写“%1”！").arg(column);
}
inline QString StampIncomplete(const QString& column)
{
    return QStringLiteral("“%1”与这次修改不符，必须同时填写或清除！").arg(column);
}
inline QString NewOrderHandled(const QString& column)
{
    return QStringLiteral("新订单必须为“等待接单”状态，不能填写“%1”！").arg(column);
}
inline QString NotNow(const QString& column, const QString& time)
{
    return QStringLiteral("“%1”不是当前时间：%2！").arg(column, time);
}
inline QString ValueUnknown(const QString& column, const QString& value)
{
    return QStringLiteral("“%1”没有“%2”这个值！").arg(column, value);
}
inline QString NoSuchSite(const QString& column, const QString& site)
{
    return QStringLiteral("“%1”中有不存在的网点：“%2”！").arg(column, site);
}
inline QString StatusNotDesks(const QString& status)
{
    return QStringLiteral("该账号不能将订单改为“%1”状态！").arg(status);
}
inline QString ReasonMissing()
{
    return QStringLiteral("该状态必须填写“撤消原因”！");
}
inline QString RevocationUnstamped()
{
    return QStringLiteral("撤销订单必须填写撤单网点、撤单员工、撤消时间和修改人！");
}
inline QString RevocationTooLate()
{
    return QStringLiteral("该订单已在运输中，不能撤消！");
}
inline QString ForeignService()
{
    return QStringLiteral("该网点不是本网点或其下属网点，不能修改其揽派设置！");
}
inline QString OpeningClosed()
{
    return QStringLiteral("该账号不允许修改“开通泽摩”！");
}
inline QString ColumnFixed(const QString& column)
{
    return QStringLiteral("不允许修改“%1”！").arg(column);
}
inline QString NoDeleting()
{
    return QStringLiteral("不允许删除订单！");
}
inline QString NotConnected()
{
    return QStringLiteral("没有连接到服务器！");
}
inline QString UnknownRequest()
{
    return QStringLiteral("不能识别的请求！");
}

// Change logs
inline QString NoTable()
{
    return QStringLiteral("不能确定要保存的表！");
}
inline QString KeyMissing(const QString& column)
{
    return QStringLiteral("查询结果中缺少主键列%1，不能保存！").arg(column);
}
inline QString BadChangeLog()
{
    return QStringLiteral("修改记录的内容不完整，不能保存！");
}
inline QString NameUsedAgain()
{
    return QStringLiteral("该保存请求的编号已用于另一次保存，数据没有保存，请重新保存！");
}
inline QString SortedTooMuch()
{
    return QStringLiteral("需要排序或汇总的数据过多，请缩小查询范围！");
}
inline QString SavedTooMuch(int minutes)
{
    return QStringLiteral("本账号一天内保存的数据过多，请在%1分钟后重试，或联系系统管理员！").arg(minutes);
}
inline QString TooManyRefusals(int rows)
{
    return QStringLiteral("有%1条数据不能保存，结果过大，全部没有保存，请分批保存！").arg(rows);
}
inline QString ForeignName()
{
    return QStringLiteral("该保存请求属于另一账号！");
}
inline QString ChangedByOther(const QString& who, const QString& columns)
{
    return who.isEmpty() ? QStringLiteral("该记录已被其他用户修改：%1！").arg(columns)
                         : QStringLiteral("该记录已被其他用户修改（%1）：%2！").arg(who, columns);
}
inline QString DeletedByOther()
{
    return QStringLiteral("该记录已被其他用户删除！");
}
inline QString DuplicateKey(const QString& key)
{
    return QStringLiteral("主键“%1”已存在！").arg(key);
}
inline QString KeyEmpty(const QString& caption)
{
    return QStringLiteral("“%1”不能为空！").arg(caption);
}
inline QString TooWide(const QString& caption, qsizetype length, int width)
{
    return QStringLiteral("“%1”的内容长度为%2，超过%3个字符的最大长度！").arg(caption).arg(length).arg(width);
}
inline QString WrongValue(const QString& caption, const QString& why)
{
    return QStringLiteral("“%1”的内容不正确：%2").arg(caption, why);
}

// Accounts
inline QString WrongLogin()
{
    return QStringLiteral("账号或密码错误！");
}
inline QString TooManyLogins(int seconds)
{
    return QStringLiteral("登录失败次数过多，请在%1秒后重试！").arg(seconds);
}
inline QString AccountExists(const QString& account)
{
    return QStringLiteral("账号“%1”已存在！").arg(account);
}
inline QString NoAccount(const QString& account)
{
    return QStringLiteral("账号“%1”不存在！").arg(account);
}
inline QString NoEmployee(const QString& code)
{
    return QStringLiteral("员工编号“%1”不存在！").arg(code);
}
inline QString AccountEmpty()
{
    return QStringLiteral("账号和密码不能为空！");
}
inline QString AccountGone()
{
    return QStringLiteral("该账号已被删除，请重新登录！");
}
inline QString BadRights()
{
    return QStringLiteral("权限码必须为三位0或1！");
}

// While a new database is filled
inline QString MakingIndexes()
{
    return QStringLiteral("正在建立索引");
}

// Storage: a database server
inline QString CannotConnect()
{
    return QStringLiteral("不能连接数据库，请稍后重试！");
}
inline QString DatabaseConnectionLost()
{
    return QStringLiteral("数据库连接中断，请稍后重试！");
}
inline QString DatabaseReadOnly()
{
    return QStringLiteral("数据库拒绝写入，请检查其权限和状态后重试！");
}
inline QString NotOurSchema(const QString& schema)
{
    return QStringLiteral("数据库的模式“%1”中已有其他系统的表，请使用空数据库！").arg(schema);
}
inline QString NulInText()
{
    return QStringLiteral("内容中含有数据库不能保存的空字符！");
}
inline QString DateOutOfRange()
{
    return QStringLiteral("日期超出数据库可保存的范围！");
}
inline QString UnknownType(const QString& column)
{
    return QStringLiteral("数据库返回了不能识别的数据类型（%1）！").arg(column);
}
inline QString UnreadableCell(const QString& cell)
{
    return QStringLiteral("数据库返回的内容“%1”与列的类型不符！").arg(cell);
}
inline QString OtherColumns()
{
    return QStringLiteral("数据库返回的列与查询语句不符！");
}
inline QString KeyNotNumbered(const QString& column)
{
    return QStringLiteral("主键列%1由公司数据库编号，不能在此新增！").arg(column);
}

} // namespace server::texts
