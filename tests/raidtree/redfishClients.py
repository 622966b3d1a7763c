#!/usr/bin/python3
"""redfishClients.py RAIDTREE TREE...: the Redfish view as sushy and redfishtool read it, against show --json."""

import json
import os
import subprocess
import sys

import sushy

RAIDTREE = sys.argv[1]
HEALTH = {"ok": "OK", "info": "OK", "warning": "Warning", "critical": "Critical"}


def told(value):
    """A value, or the text of a member of an enumeration."""
    return getattr(value, "value", value)


def compare(what, found, wanted):
    assert found == wanted, f"{what}: {found!r}, and in the tree {wanted!r}"


def check_drive(drive, record):
    compare("serial number", drive.serial_number, record.get("serialNumber"))
    compare("size", drive.capacity_bytes, record.get("sizeBytes"))
    compare("health", told(drive.status.health), HEALTH[record["severity"]])
    compare("medium", told(drive.media_type), record.get("mediaType"))


def check_volume(volume, record):
    compare("name", volume.name, record.get("name") or f"Volume {record['number']}")
    compare("size", volume.capacity_bytes, record.get("sizeBytes"))
    if "raidLevel" in record:
        compare("level", told(volume.raid_type), record["raidLevel"].replace("-", ""))


def check_with_sushy(url, records):
    root = sushy.Sushy(url, verify=False)
    system, = root.get_system_collection().get_members()
    if "name" in records:
        compare("name", system.name, records["name"])
    worst = records["problems"][0]["severity"] if records["problems"] else "ok"
    compare("health", told(system.status.health), HEALTH[worst])
    storages = {storage.identity: storage for storage in system.storage.get_members()}
    compare("adapters", set(storages), {str(adapter["number"]) for adapter in records["adapters"]})
    for adapter in records["adapters"]:
        storage = storages[str(adapter["number"])]
        controller, = storage.storage_controllers
        compare("controller", told(controller.status.health), HEALTH[adapter["severity"]])
        drives = {drive.identity: drive for drive in storage.drives}
        compare("drives", set(drives), {str(drive["number"]) for drive in adapter["drives"]})
        for record in adapter["drives"]:
            check_drive(drives[str(record["number"])], record)
        volumes = {volume.identity: volume for volume in storage.volumes.get_members()}
        compare("volumes", set(volumes), {str(volume["number"]) for volume in adapter["volumes"]})
        for record in adapter["volumes"]:
            check_volume(volumes[str(record["number"])], record)
    chassis = {chassis.identity for chassis in root.get_chassis_collection().get_members()}
    compare("chassis", len(chassis), 1 + sum(len(adapter["enclosures"]) for adapter in records["adapters"]))


def check_with_redfishtool(address, records):
    def ask(*words):
        run = subprocess.run(["redfishtool", "-r", address, "-S", "Never", "-A", "None", *words], capture_output=True,
                             text=True, check=False)
        assert run.returncode == 0, f"redfishtool {words}: {run.stderr}{run.stdout}"
        return json.loads(run.stdout)

    compare("systems", ask("Systems")["Members@odata.count"], 1)
    compare("chassis", ask("Chassis")["Members@odata.count"],
            1 + sum(len(adapter["enclosures"]) for adapter in records["adapters"]))
    for adapter in records["adapters"]:
        for drive in adapter["drives"]:
            path = f"/redfish/v1/Systems/server/Storage/{adapter['number']}/Drives/{drive['number']}"
            compare(path, ask("raw", "GET", path)["Status"]["Health"], HEALTH[drive["severity"]])
            break  # each call is a process


def main():
    for tree in sys.argv[2:]:
        records = json.loads(subprocess.run([RAIDTREE, "show", "--json", "--no-log", tree], check=True,
                                            capture_output=True, text=True).stdout)
        server = subprocess.Popen([RAIDTREE, "serve", "--no-log", "--listen", "127.0.0.1:0", tree],
                                  stdout=subprocess.PIPE, text=True)
        try:
            url = server.stdout.readline().strip().rstrip("/")
            check_with_sushy(url, records)
            check_with_redfishtool(url.removeprefix("http://"), records)
        except AssertionError as error:
            sys.exit(f"{os.path.basename(tree)}: {error}")
        finally:
            server.terminate()
            server.wait()
    print(f"sushy and redfishtool read {len(sys.argv) - 2} trees")


main()
