#!/usr/bin/env python3
"""prometheus.py RAIDTREE: metrics, alerts and dashboard by promtool, and against each other."""

import glob
import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
PROMETHEUS = os.path.join(HERE, "../../raidtree/prometheus")
GOLDEN = sorted(glob.glob(os.path.join(HERE, "../golden/*.xml")))
LOG = "updateRAIDStorageTree(): START:\nupdateRAIDStorageTree(): END - ret=0 (\n"


def promtool(*words, text=None):
    run = subprocess.run(["promtool", *words], input=text, text=True, capture_output=True, check=False)
    assert run.returncode == 0 and "FAILED" not in run.stdout, run.stdout + run.stderr
    return run.stderr


def read_metrics(raidtree, folder):
    log = os.path.join(folder, "log")
    with open(log, "w", encoding="utf-8") as stream:
        stream.write(LOG)
    for path in GOLDEN + ["/dev/null"]:
        command = [raidtree, "metrics", "--log", log, path]
        text = subprocess.run(command, text=True, capture_output=True, check=False).stdout
        assert promtool("check", "metrics", text=text) == "", f"{path}: promtool check metrics has a finding"
        yield os.path.basename(path), text


def expressions(alerts):
    """By alert; the file's own form, one expression an alert, is all that is understood here."""
    found = {}
    for block in alerts.split("- alert: ")[1:]:
        name, rest = block.split("\n", 1)
        found[name] = re.sub(r"\s+", " ", re.search(r"expr:( \|)?(.*?)\n        (for|labels):", rest, re.S)[2]).strip()
    return found


def check_problems_have_alerts(metrics, alerts, folder):
    series = []
    for name, text in metrics:
        for line in text.splitlines():
            if line.startswith("raid_problem{"):
                series.append(line.rsplit(" ", 1)[0].replace("{", '{instance="%s",' % name, 1))
    assert len(series) > 20
    union = " or ".join(f"({e})" for e in alerts.values() if "raid_problem" in e)
    test = {"interval": "1m", "input_series": [{"series": s, "values": "1x60"} for s in series],
            "promql_expr_test": [{"expr": f"raid_problem unless ({union})", "eval_time": "30m", "exp_samples": []}]}
    path = os.path.join(folder, "test.json")  # JSON is YAML
    with open(path, "w", encoding="utf-8") as stream:
        json.dump({"rule_files": [], "tests": [test]}, stream)
    promtool("test", "rules", path)


def check_dashboard(dashboard):
    assert dashboard["schemaVersion"] >= 36 and dashboard["uid"] and dashboard["title"]
    panels = dashboard["panels"]
    assert len(panels) == 10 and len({panel["id"] for panel in panels}) == 10
    variables = {variable["name"] for variable in dashboard["templating"]["list"]}
    taken = set()
    for panel in panels:
        assert panel["title"] and panel["type"] in ("stat", "table", "timeseries"), panel["title"]
        assert panel["datasource"] == {"type": "prometheus", "uid": "${datasource}"}
        assert isinstance(panel["fieldConfig"]["defaults"], dict) and isinstance(panel["options"], dict)
        place = panel["gridPos"]
        cells = {(x, y) for x in range(place["x"], place["x"] + place["w"])
                 for y in range(place["y"], place["y"] + place["h"])}
        assert place["x"] + place["w"] <= 24 and not cells & taken, panel["title"]
        taken |= cells
        assert len({target["refId"] for target in panel["targets"]}) == len(panel["targets"]) > 0
    assert set(re.findall(r"\$\{?(\w+)", json.dumps(panels))) <= variables
    return [target["expr"] for panel in panels for target in panel["targets"]]


def main():
    with tempfile.TemporaryDirectory() as folder:
        metrics = list(read_metrics(sys.argv[1], folder))
        with open(os.path.join(PROMETHEUS, "alerts.yml"), encoding="utf-8") as stream:
            alerts = expressions(stream.read())
        with open(os.path.join(PROMETHEUS, "alerts.test.yml"), encoding="utf-8") as stream:
            tested = set(re.findall(r"alertname: (\w+)\n        exp_alerts:", stream.read()))
        with open(os.path.join(PROMETHEUS, "dashboard.json"), encoding="utf-8") as stream:
            shown = check_dashboard(json.load(stream))
        assert tested == set(alerts), f"alerts without a test: {set(alerts) ^ tested}"
        promtool("check", "rules", os.path.join(PROMETHEUS, "alerts.yml"))
        promtool("test", "rules", os.path.join(PROMETHEUS, "alerts.test.yml"))
        check_problems_have_alerts(metrics, alerts, folder)

        rules = os.path.join(folder, "dashboard.json")
        records = [{"record": f"panel:{i}", "expr": e.replace("$instance", ".*")} for i, e in enumerate(shown)]
        with open(rules, "w", encoding="utf-8") as stream:
            json.dump({"groups": [{"name": "dashboard", "rules": records}]}, stream)
        promtool("check", "rules", rules)

        known = {name for _, text in metrics for name in re.findall(r"^# TYPE (\w+)", text, re.M)}
        asked = set(re.findall(r"\braid_\w+", " ".join(shown + list(alerts.values()))))
        assert asked <= known, f"no such metric: {asked - known}"
        print(f"{len(alerts)} alerts, {len(shown)} queries, {len(metrics)} documents")


main()
