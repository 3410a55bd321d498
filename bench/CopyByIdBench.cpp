// Copy records to database 1 through the window against the simulated server (a program of its
// own, serving both sides): 10,000 records in the ID range, every other one already on the left,
// against the plain ODBC loop doing the same per-record work (range read on one connection with
// bound columns; per record the same look-up text on another, and for a missing one an INSERT
// prepared once whose parameters point at the bound columns), the two alternated and the best of
// several runs kept, idle and under a background load (BenchSupport's compareIdleAndLoaded); then
// the peak resident memory after 10,000 and after 40,000 records.
// Usage: qormin-bench-copy-by-id [runs, default 3]
#include "BenchSupport.h"
#include "WindowHarness.h"

#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTextStream>
#include <algorithm>
#include <sql.h>
#include <sqlext.h>

namespace {

using namespace qormin::bench;

QByteArray rangeRule(int last) {
    return R"json({"exact": "select * from Bench..tbIds where idnum >= '1' and idnum <= ')json" +
           QByteArray::number(last) + R"json('", "response": {"result": {
      "columns": [{"name": "IDNum", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": "Patient {n}"}},
                  {"name": "amount", "type": "decimal(12,2)", "generate": {"start": 10, "step": 1}},
                  {"name": "created", "type": "datetime"}], "generate": )json" +
           QByteArray::number(last) + "}}},";
}

QByteArray scenarioText() {
    return R"json({"rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Bench"]]}}},
    {"prefix": " SELECT     t.NAME AS TableName", "response": {"result": {
      "columns": ["TableName:nvarchar(128)"], "rows": [["tbIds"]]}}},
    {"prefix": "select object_id from sys.tables", "response": {"result": {"columns": ["object_id:int"], "rows": [[7]]}}},
    {"prefix": "Select * From sys.columns", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["idnum"]]}}},
    {"prefix": "select * from sys.tables", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["tbIds"]]}}},
    )json" +
           rangeRule(10000) + rangeRule(40000) + R"json(
    {"regex": "^Select \\* from   Bench\\.\\.tbIds where idnum = '\\d*[02468]' $", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(50)", "amount:decimal(12,2)", "created:datetime"],
      "rows": [[2, "Patient 2", "11.00", "2000-01-02"]]}}},
    {"prefix": "Select * from   Bench..tbIds where idnum = ", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(50)", "amount:decimal(12,2)", "created:datetime"], "rows": []}}}
  ]})json";
}

} // namespace

int main(int argc, char** argv) {
    useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QTextStream out(stdout);

    SimProcess simulator(QStringLiteral(QORMIN_SIM_PATH));
    if (!simulator.start(scenarioText(), &out))
        return 1;

    qormin::test::WindowHarness harness;
    for (int side = 0; side < 2; ++side) {
        harness.storeConnection(side, simulator.server(), QStringLiteral("demo"));
    }
    harness.load();
    auto copy = [&harness](int last) {
        return secondsOf([&harness, last] {
            harness.runBatch(QStringLiteral("select GridDB(0) 1\nset txtStartIDNum 1\nset txtENDIDNum %1\n"
                                            "click cmdCopybyRecID\n")
                                 .arg(last));
        });
    };
    const QString odbc = odbcConnectionString(simulator.port());

    constexpr int records = 10000;
    const int runs = countArgument(argc, argv, 1, 3);
    const long before = peakResidentKilobytes();
    RawCopyCounts counts;
    compareIdleAndLoaded(
        out,
        {QStringLiteral("copy by ID, %1 records").arg(records), records, [&copy] { copy(records); },
         [&] { rawCopyByIdSeconds(odbc, odbc, QStringLiteral("Bench..tbIds"), records, counts); }},
        runs);
    out << "raw ODBC loop: added " << counts.added << ", existing " << counts.existing << Qt::endl;
    const long after10k = peakResidentKilobytes();
    const double tool40k = copy(40000);
    const long after40k = peakResidentKilobytes();
    const QString log = harness.window().serverAccess().log().text();
    out << "last closing line: " << log.section(QStringLiteral("\r\n"), 0, 0) << Qt::endl;
    out << "copy by ID, 40000 records: " << tool40k << " s (" << 40000 / tool40k << " records/s)" << Qt::endl;
    out << "peak RSS: before " << before << " kB, after 10000-record runs " << after10k
        << " kB, after the 40000-record run " << after40k << " kB (ratio "
        << static_cast<double>(after40k) / static_cast<double>(after10k) << ")" << Qt::endl;
    return 0;
}
