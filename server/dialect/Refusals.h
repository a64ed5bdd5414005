#pragma once

#include <QString>

// What the dialect says about a text that it cannot take. Clerks see it after the screen's own "详细：".
namespace dialect::texts {

inline QString At(int line, int column, const QString& message)
{
    return QStringLiteral("SQL语句第%1行第%2列：%3！")
        .arg(QString::number(line), QString::number(column), message);
}
inline QString Expected(const QString& expected, const QString& found)
{
    return QStringLiteral("应为%1，却是%2").arg(expected, found);
}
inline QString End()
{
    return QStringLiteral("语句末尾");
}
inline QString Quoted(const QString& text)
{
    return QStringLiteral("“%1”").arg(text);
}

// Characters and literals
inline QString OpenText()
{
    return QStringLiteral("引号没有配对，文本没有结束");
}
inline QString OpenName()
{
    return QStringLiteral("双引号没有配对，名称没有结束");
}
inline QString OpenComment()
{
    return QStringLiteral("注释没有结束");
}
inline QString AmbiguousComment()
{
    return QStringLiteral("注释的结尾不明确");
}
inline QString BadCharacter(const QString& character)
{
    return QStringLiteral("不能识别的字符%1").arg(Quoted(character));
}
inline QString BadNumber(const QString& text)
{
    return QStringLiteral("数字%1超出范围").arg(Quoted(text));
}

// Statements
inline QString Empty()
{
    return QStringLiteral("SQL语句为空");
}
inline QString OneStatement()
{
    return QStringLiteral("一次只能执行一条语句");
}
inline QString OnlySelectOrUpdate(const QString& found)
{
    return QStringLiteral("只允许一条查询或修改语句，不允许%1").arg(found);
}
inline QString Expression()
{
    return QStringLiteral("表达式");
}
inline QString Condition()
{
    return QStringLiteral("条件");
}
inline QString Value()
{
    return QStringLiteral("值");
}
inline QString Name()
{
    return QStringLiteral("名称");
}
inline QString TableName()
{
    return QStringLiteral("表名");
}
inline QString TextLiteral()
{
    return QStringLiteral("引号中的文本");
}

// Limits
inline QString TooDeep()
{
    return QStringLiteral("语句嵌套过深");
}
inline QString StatementTooLong(qint64 most)
{
    return QStringLiteral("语句超过%1个字符").arg(most);
}
inline QString LiteralTooLong(qint64 most)
{
    return QStringLiteral("引号中的文本超过%1个字符").arg(most);
}
inline QString ListTooLong(qint64 most)
{
    return QStringLiteral("in列表中的值超过%1个").arg(most);
}
inline QString TooManyParts(qint64 most)
{
    return QStringLiteral("语句过于复杂，成分超过%1个").arg(most);
}
inline QString TooManyLiterals(qint64 most)
{
    return QStringLiteral("常量超过%1个").arg(most);
}
inline QString TooManyColumns(qint64 most)
{
    return QStringLiteral("列超过%1个").arg(most);
}
inline QString TooManyOperands(qint64 most)
{
    return QStringLiteral("此处的表达式超过%1个").arg(most);
}
inline QString TooManySources(qint64 most)
{
    return QStringLiteral("表超过%1个").arg(most);
}
inline QString TooManyBlocks(qint64 most)
{
    return QStringLiteral("select超过%1个").arg(most);
}
inline QString TooSlow()
{
    return QStringLiteral("语句过于复杂，不能及时译出！");
}

// Names
inline QString NoTable(const QString& name)
{
    return QStringLiteral("表%1不存在").arg(Quoted(name));
}
inline QString NoColumn(const QString& name)
{
    return QStringLiteral("列%1不存在").arg(Quoted(name));
}
inline QString NoSource(const QString& name)
{
    return QStringLiteral("%1不是此处的表或别名").arg(Quoted(name));
}
inline QString Ambiguous(const QString& name)
{
    return QStringLiteral("列%1有歧义，请加表名或别名").arg(Quoted(name));
}
inline QString NoFunction(const QString& name)
{
    return QStringLiteral("不支持函数%1").arg(Quoted(name));
}
inline QString ArgumentCount(const QString& name)
{
    return QStringLiteral("函数%1的参数个数不对").arg(Quoted(name));
}

// Types and places
inline QString TypeMismatch()
{
    return QStringLiteral("数据类型不一致");
}
inline QString AggregateHere(const QString& name)
{
    return QStringLiteral("此处不能使用分组函数%1").arg(Quoted(name));
}
inline QString NotGrouped()
{
    return QStringLiteral("此表达式不在group by之中");
}
inline QString ColumnCount()
{
    return QStringLiteral("列数不一致");
}
inline QString OneColumn()
{
    return QStringLiteral("子查询只能有一列");
}
inline QString OrderPosition()
{
    return QStringLiteral("order by的序号必须是查询结果中的列");
}
inline QString OrderOfUnion()
{
    return QStringLiteral("合并查询只能按结果中的列名或序号排序");
}
inline QString RownumHere()
{
    return QStringLiteral("rownum只能用于where中的rownum=1、rownum<=n、rownum<n，且不能与分组或排序同层");
}
inline QString LevelHere()
{
    return QStringLiteral("level只能用于connect by查询");
}
inline QString PriorHere()
{
    return QStringLiteral("prior只能用于connect by的条件");
}
inline QString HierarchyOfOneTable()
{
    return QStringLiteral("connect by只能用于单个表");
}
inline QString NotSupported(const QString& what)
{
    return QStringLiteral("不支持%1").arg(what);
}
inline QString MaskLiteral()
{
    return QStringLiteral("格式必须是引号中的文本");
}

// Values; also raised while a statement runs
inline QString Shortened(const QString& text)
{
    constexpr qsizetype kMost = 100;
    return text.size() > kMost ? text.left(kMost) + QChar(u'…') : text;
}
inline QString InvalidNumber(const QString& text)
{
    return QStringLiteral("%1不是有效的数字").arg(Quoted(Shortened(text)));
}
inline QString InvalidDate(const QString& text, const QString& mask)
{
    return QStringLiteral("%1不是格式为%2的有效日期").arg(Quoted(Shortened(text)), Quoted(mask));
}
inline QString InvalidMask(const QString& element)
{
    return QStringLiteral("不支持日期格式中的%1").arg(Quoted(element));
}
inline QString InvalidNumberMask(const QString& mask)
{
    return QStringLiteral("不支持数字格式%1").arg(Quoted(mask));
}
inline QString BuiltTextTooLong(qint64 most)
{
    return QStringLiteral("计算得到的文本超过%1个字节").arg(most);
}
inline QString DivideByZero()
{
    return QStringLiteral("除数为零");
}
inline QString OutOfRange()
{
    return QStringLiteral("计算结果超出范围");
}
inline QString TooLong()
{
    return QStringLiteral("文本超过列的最大长度");
}
inline QString Refused(const QString& message)
{
    return QStringLiteral("数据库不能执行此语句（%1）！").arg(message);
}
inline QString NotOneRow()
{
    return QStringLiteral("单行子查询返回多行");
}
inline QString ConnectByTooDeep()
{
    return QStringLiteral("connect by的层次过多");
}
inline QString ConnectByLoop()
{
    return QStringLiteral("connect by的数据中存在循环");
}

} // namespace dialect::texts
