"""What benchmarks/report.py makes of results."""

import json
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "benchmarks"))
sys.dont_write_bytecode = True
import report  # noqa: E402

STEADY = [1.00, 1.01, 0.99, 1.02, 0.98, 1.00, 1.01]
WILD = [1.0, 4.0, 0.5, 3.0, 1.0, 5.0, 0.6]  # half the distance of the quartiles is 1.35 of the median 1.0


class ReportTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = pathlib.Path(directory.name)
        self.page = self.folder / "page.md"
        self.images = self.folder / "images"
        self.images.mkdir()

    def results(self, benchmarks, context=None):
        """benchmarks: {name: (times in µs, calls or None)}"""
        runs = [
            {"run_type": "iteration", "family_index": index, "run_name": name + "/real_time", "real_time": time,
             "time_unit": "us", **({"calls": calls} if calls is not None else {})}
            for index, (name, (times, calls)) in enumerate(benchmarks.items()) for time in times
        ]
        path = self.folder / "results.json"
        whole = {"executable": "./task_benchmark", "qt": "6.4.2", "compiler": "GNU 12", "num_cpus": 2, **(context or {})}
        path.write_text(json.dumps({"context": whole, "benchmarks": runs}))
        return report.Results(path)

    def table(self, results):
        (table, rows), = results.tables().items()
        return report.table_text(results, rows)

    def test_aTableHasTheMedianOfEachCellAndTheLargestSpreadOfTheRow(self):
        results = self.results({"latency/ours/in a row": (STEADY, None), "latency/ours/after 2 ms": ([20, 22, 21], None)})
        self.assertEqual(self.table(results), "| µs | in a row | after 2 ms | spread |\n|---|---:|---:|---:|\n"
                                              "| ours | 1.00 | 21.0 | 2 % |\n")

    def test_aRowThatSpreadsByMoreThanHalfIsLeftOutAndNamed(self):
        results = self.results({"latency/ours/in a row": (STEADY, None), "latency/peer/in a row": (WILD, None)})
        text = self.table(results)
        self.assertNotIn("| peer |", text)
        self.assertIn("| ours | 1.00 | 1 % |", text)
        self.assertTrue(text.endswith("\nLeft out, with a spread above 50 %: peer (135 %).\n"), text)

    def test_aTableOfWhichNothingIsLeftHasOnlyTheNames(self):
        results = self.results({"latency/ours/in a row": (WILD, None)})
        self.assertEqual(self.table(results), "Left out, with a spread above 50 %: ours (135 %).\n")

    def test_aRatioThatSpreadsByMoreThanHalfIsNotToldAsReachedOrMissed(self):
        context = {"ratio 100": "Log / macro|ours|peer|1.5|", "ratio 101": "Log / wild|ours|wild|1.5|"}
        results = self.results({"ours": ([3.0] * 3, None), "peer": ([2.0] * 3, None), "wild": (WILD, None)}, context)
        self.assertEqual(report.ratios_text(results), "| what | beside | target | measured | spread |\n|---|---|---:|---:|---:|\n"
                                                      "| Log | macro | 1.5 | 1.50 | 0 % |\n\n"
                                                      "Left out, with a spread above 50 %: Log / wild (135 %).\n")

    def test_howABenchmarkIsTimedIsNoPartOfItsName(self):
        results = self.results({"ours/iterations:5/process_time": (STEADY, None), "peer": (STEADY, None)},
                               {"ratio 100": "Loop / peer|ours|peer|1.05|"})
        self.assertIn("| Loop | peer | 1.05 | 1.00 | 1 % |", report.ratios_text(results))

    def test_aPartThatIsMeasuredApartIsTakenOff(self):
        context = {"ratio 100": "Log / macro, line apart|ours|peer||line".replace("||", "|0|")}
        results = self.results({"ours": ([3.0] * 3, None), "peer": ([2.0] * 3, None), "line": ([1.0] * 3, None)}, context)
        self.assertIn("| Log | macro, line apart |  | 1.00 | 0 % |", report.ratios_text(results))

    def test_aFigureHasItsUnitInBothColumnsAndKeepsItsPlaceAmongMany(self):
        context = {f"figure {100 + index}": f"cancel() to return, {what}|{value}|100|% of a grain"
                   for index, (what, value) in enumerate((("median", 48.4), ("highest of 51", 101.2)))}
        self.assertEqual(report.ratios_text(self.results({"ours": (STEADY, None)}, context)),
                         "| what | beside | target | measured | spread |\n|---|---|---:|---:|---:|\n"
                         "| cancel() to return, median |  | 100 % of a grain | 48 % of a grain |  |\n"
                         "| cancel() to return, highest of 51 |  | 100 % of a grain | 101 % of a grain |  |\n")

    def test_theCallsOfAReceiverHaveAColumn(self):
        results = self.results({"progress/ours/until received": (STEADY, 20000)})
        self.assertEqual(self.table(results), "| µs | until received | calls | spread |\n|---|---:|---:|---:|\n"
                                              "| ours | 1.00 | 20000 | 1 % |\n")

    def test_onlyTheMarkedRegionsOfThePageChange(self):
        self.page.write_text("before\n<!-- begin: a -->\nold\n<!-- end: a -->\nafter\n<!-- begin: b -->\nkept\n<!-- end: b -->\n")
        report.fill(self.page, {"a": "new\n"})
        self.assertEqual(self.page.read_text(), "before\n<!-- begin: a -->\nnew\n<!-- end: a -->\nafter\n"
                                                "<!-- begin: b -->\nkept\n<!-- end: b -->\n")

    def test_aRegionWithoutAnEndChangesNothing(self):
        self.page.write_text("<!-- begin: a -->\nold\n")
        with self.assertRaises(ValueError):
            report.fill(self.page, {"a": "new\n"})
        self.assertEqual(self.page.read_text(), "<!-- begin: a -->\nold\n")

    def test_thePictureLeavesOutWhatTheTableLeavesOutAndTakesThePagesColours(self):
        try:
            import matplotlib  # noqa: F401
        except ImportError:
            print("Skipped: python3-matplotlib is not installed")
            self.skipTest("")
        rows = {f"dispatch/{name}/{count} workers": (times, None)
                for name, times in (("ours", STEADY), ("peer", WILD)) for count in (1, 2, 4)}
        regions = report.regions_of([self.results(rows)], self.images, "images")
        self.assertTrue(regions["dispatch, Qt 6"].startswith("![Callables a second by number of workers, Qt 6](images/dispatch-qt6.svg)"))
        picture = (self.images / "dispatch-qt6.svg").read_text()
        self.assertIn(">ours<", picture)
        self.assertNotIn(">peer<", picture)
        self.assertIn("prefers-color-scheme: dark", picture)
        self.assertIn("currentColor", picture)


if __name__ == "__main__":
    unittest.main()
