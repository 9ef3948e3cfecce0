#!/usr/bin/env python3
"""Helpers of the main job.

    mainjob.py vifs SAMPLE          one line per attached port of the sample:
                                    VIF_ID PORT_UUID MAC BINDING
    mainjob.py realised SAMPLE      exit 0 once the port table (dpsim ctl ports,
                                    on stdin) holds every attached port with
                                    its block key
    mainjob.py summary SAMPLE       the port table on stdin, VIF_STATE objects
                                    (loftdb-ctl get lines) in the file $VIF_STATE
    mainjob.py l2 SAMPLE [MOST]     the L2 table's rows (cfgagent/l2/remote or
                                    local, on stdin), one line each
    mainjob.py joins SAMPLE         one line per overlay switch of the sample
                                    with connected ports: VNI VIF_MAC
    mainjob.py overlay-realised SAMPLE
                                    exit 0 once the overlay module (dpsim ctl
                                    ports zef_ovl2_taklink, on stdin) holds
                                    every VTEP of the sample's FIBs and a BFD
                                    session for each
    mainjob.py overlay SAMPLE       the overlay module per VNI on stdin,
                                    LOG_SWITCH_STATE objects in $L2_STATE
"""
import json
import os
import sys


def uuid(ident):
    left, right = int(ident["left"]), int(ident["right"])
    text = "%016x%016x" % (left, right)
    return "%s-%s-%s-%s-%s" % (text[:8], text[8:12], text[12:16], text[16:20], text[20:])


def attached_ports(sample):
    with open(sample) as f:
        modify = json.load(f)["modify"]
    for entry in modify:
        put = entry.get("put", {})
        if put.get("type") == "LOG_SWITCH_PORT_CONFIG":
            vif = put["object"].get("attachment", {}).get("id")
            if vif:
                yield vif, uuid(put["object"]["id"])


def vifs(sample):
    for number, (vif, port) in enumerate(attached_ports(sample), start=1):
        mac = "02:00:00:00:00:%02x" % number
        print(vif, port, mac, "10.1.0.%d/%s/0/1" % (number, mac))


def table(stdin):
    answer = json.load(stdin)
    return answer["links"][0]["ports"] if answer.get("ok") else {}


def realised(sample):
    ports = table(sys.stdin)
    wanted = [vif for vif, _ in attached_ports(sample)]
    return 0 if all(vif in ports and ports[vif].get("blocked") is not None for vif in wanted) else 1


def number(port, key):
    value = port["properties"].get(key)
    return str(value.get("number", value["hex"])) if value else "-"


def vlan(port):
    value = port["properties"].get("102")
    return str(int(value["hex"][4:8], 16)) if value and value["hex"] != "0" * 16 else "-"


def summary(sample):
    ports = table(sys.stdin)
    print("  what reached the dataplane (dpsim's port table):")
    print("  %-14s %-38s %-6s %-5s %-8s %s" % ("VIF", "logical port", "VNI", "VLAN", "blocked", "keys"))
    for vif, lsp in attached_ports(sample):
        port = ports.get(vif)
        if port is None:
            print("  %-14s %-38s (not in the port table)" % (vif, lsp))
            continue
        keys = ",".join(sorted(port["properties"], key=int))
        print("  %-14s %-38s %-6s %-5s %-8s %s" % (vif, lsp, number(port, "1"), vlan(port),
                                                    str(port.get("blocked")).lower(), keys))
    print()
    print("  what came back to the store (VIF_STATE):")
    with open(os.environ["VIF_STATE"]) as f:
        for line in f:
            state = json.loads(line)
            macs = ["%012x" % int(m["mac"]) for m in state.get("macs", [])]
            ips = []
            for binding in state.get("discovered_bindings", []):
                ipv4 = binding.get("ip", {}).get("ipv4")
                if ipv4 is not None:
                    ips.append(".".join(str((ipv4 >> s) & 255) for s in (24, 16, 8, 0)))
            print("  %-14s macs %-14s addresses %s" % (state["id"], ",".join(macs) or "-",
                                                       ",".join(ips) or "-"))


def l2_rows(stdin, most):
    answer = json.load(stdin)
    rows = answer if isinstance(answer, list) else next(
        (v for v in answer.values() if isinstance(v, list)), [])
    if not rows:
        print("  (none)")
    for row in rows[:most]:
        value = row.get("PropertyValue")
        print("  %-17s %-38s %-20s %s" % (row.get("ObjectType"), row.get("ObjectID"),
                                         row.get("PropertyType"),
                                         json.dumps(value, separators=(",", ":")) if value else ""))


def puts(sample, kind):
    with open(sample) as f:
        for entry in json.load(f)["modify"]:
            put = entry.get("put", {})
            if put.get("type") == kind:
                yield put["object"]


def joins(sample):
    vnis = {uuid(ls["id"]): ls["vni"] for ls in puts(sample, "LOG_SWITCH_CONFIG") if "vni" in ls}
    first = {}
    for number, (vif, port) in enumerate(attached_ports(sample), start=1):
        lsp = next(p for p in puts(sample, "LOG_SWITCH_PORT_CONFIG") if uuid(p["id"]) == port)
        vni = vnis.get(uuid(lsp["switch_id"]))
        if vni is not None and vni not in first:
            first[vni] = "02:00:00:00:00:%02x" % number
    for vni, mac in sorted(first.items()):
        print(vni, mac)


def ipv4(number):
    return ".".join(str((int(number) >> s) & 255) for s in (24, 16, 8, 0))


def fib_vteps(sample):
    vnis = {uuid(ls["id"]): ls["vni"] for ls in puts(sample, "LOG_SWITCH_CONFIG") if "vni" in ls}
    return {vnis[uuid(fib["id"])]: {ipv4(v["vtep_ip"]) for v in fib.get("vteps", [])}
            for fib in puts(sample, "LOG_SWITCH_FIB")}


def overlay_link(stdin):
    answer = json.load(stdin)
    return answer["links"][0] if answer.get("ok") else {}


def overlay_realised(sample):
    link = overlay_link(sys.stdin)
    vnis = link.get("vnis", {})
    sessions = [s for ss in link.get("bfdSessions", {}).values() for s in ss]
    for vni, wanted in fib_vteps(sample).items():
        held = {v["ip"] for v in vnis.get(str(vni), {}).get("vteps", [])}
        bfd = {s["remote"] for s in sessions if s["vni"] == vni}
        if held != wanted or bfd != wanted:
            return 1
    return 0


def overlay(sample):
    link = overlay_link(sys.stdin)
    sessions = [s for ss in link.get("bfdSessions", {}).values() for s in ss]
    print("  what the overlay module holds (dpsim's overlay tables):")
    print("  %-5s %-8s %-5s %-5s %-4s %-11s %s" % ("VNI", "link", "VTEPs", "MACs", "IPs", "local VTEP",
                                                   "BFD sessions"))
    for vni, held in sorted(link.get("vnis", {}).items(), key=lambda item: int(item[0])):
        local = ",".join(v["ip"] for v in held.get("localVteps", [])) or "-"
        bfd = ",".join("%s>%s" % (s["local"], s["remote"]) for s in sessions if s["vni"] == int(vni)) or "-"
        print("  %-5s %-8s %-5d %-5d %-4d %-11s %s" % (vni, held.get("link", {}).get("state", "-"),
                                                       len(held.get("vteps", [])), len(held.get("macs", [])),
                                                       len(held.get("ips", [])), local, bfd))
    print()
    print("  what came back to the store (LOG_SWITCH_STATE):")
    with open(os.environ["L2_STATE"]) as f:
        for line in f:
            state = json.loads(line)
            vteps = ",".join("%s/%d" % (ipv4(v["vtep_ip"]), v["vtep_label"]["label"])
                             for v in state.get("vteps", [])) or "-"
            macs = ",".join("%012x" % int(m["mac"]) for m in state.get("macs", [])) or "-"
            print("  %-38s local VTEPs %-20s learned MACs %s" % (uuid(state["id"]), vteps, macs))


def main():
    command, sample = sys.argv[1], sys.argv[2]
    if command == "vifs":
        vifs(sample)
    elif command == "realised":
        sys.exit(realised(sample))
    elif command == "summary":
        summary(sample)
    elif command == "l2":
        l2_rows(sys.stdin, int(sys.argv[3]) if len(sys.argv) > 3 else None)
    elif command == "joins":
        joins(sample)
    elif command == "overlay-realised":
        sys.exit(overlay_realised(sample))
    elif command == "overlay":
        overlay(sample)
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
