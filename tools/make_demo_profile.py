#!/usr/bin/env python3
"""Writes resources/profiles/demo.xml, the demo mail profile.

One mailbox store with the English default folders, a few nested folders under
the Inbox and the Calendar, and some five hundred items dated over the three
years before END. The seed is fixed, so running it again gives the same file.

    python3 tools/make_demo_profile.py [output]
"""

import datetime
import pathlib
import random
import sys
import xml.etree.ElementTree as ET

SEED = 7
END = datetime.datetime(2026, 11, 20, 18, 0, 0)
START = END - datetime.timedelta(days=3 * 365)
OWNER = "Alex Morgan"
STORE = "Mailbox - Alex Morgan"

PEOPLE = [
    "Priya Shah", "Tom Becker", "Maria Lopez", "Jonas Weber", "Aisha Karimi",
    "Liam O'Brien", "Chen Wei", "Sophie Martin", "Daniel Novak", "Grace Okafor",
    "Henrik Larsen", "Olivia Brown", "Sam Whitfield", "Nadia Rahman",
]

TOPICS = {
    "general": [
        "Quarterly budget review", "Team lunch on Friday", "Updated holiday rota",
        "IT maintenance this weekend", "Welcome our new colleagues", "Parking permits",
        "Expense report reminder", "Minutes of the weekly meeting", "Printer on floor 2",
        "Training schedule for next month", "Fire drill on Tuesday", "Your password expires soon",
        "Draft agenda for the all-hands", "Feedback on the proposal", "Coffee machine is fixed",
    ],
    "Projects": ["Project status report", "Resourcing for Q3", "Risk register update",
                 "Steering group slides", "Milestone review"],
    "Website Relaunch": ["Homepage mock-ups v3", "Content freeze dates", "SEO audit results",
                         "Launch checklist", "Accessibility review findings",
                         "Hosting quote from the agency"],
    "Office Move": ["Floor plan for the new office", "Removal company quotes", "Desk booking",
                    "Keys and access cards", "Moving day timetable"],
    "Clients": ["Renewal terms", "Meeting request", "Account review", "Service levels"],
    "Harbor & Finch": ["Harbor & Finch: statement of work", "Harbor & Finch: invoice query",
                       "Harbor & Finch: kick-off notes", "Harbor & Finch: change request"],
    "Northwind Traders": ["Northwind: order 10248", "Northwind: delivery delay",
                          "Northwind: price list 2026", "Northwind: contract signed"],
    "Receipts": ["Your receipt from Rail Europe", "Order confirmation #", "Hotel booking receipt",
                 "Taxi receipt", "Conference registration receipt"],
    "Newsletters": ["This week in tech", "Industry digest", "Monthly product news",
                    "Events near you", "Your weekly reading list"],
}
NEWSLETTER_SENDERS = ["TechWeekly", "Industry Digest", "Product News", "Meetup Events"]
MEETINGS = ["Weekly team meeting", "1:1 with Priya", "Quarterly planning", "Client call",
            "Dentist", "Board preparation", "Lunch with Tom", "Project retrospective",
            "Budget sign-off", "Interview: senior developer"]
HOLIDAYS = ["Office closed", "Team holiday: Maria", "Team holiday: Jonas", "Bank holiday"]
TASKS = ["Submit expense report", "Renew software licences", "Book travel to Berlin",
         "Review contract draft", "Prepare board pack", "Update team wiki",
         "Call the insurance broker", "Order new laptop"]
NOTES = ["Wi-Fi password for the guest network", "Ideas for the offsite", "Gift list",
         "Questions for the accountant", "Books to read", "Parking level and bay"]
JOURNAL = ["Phone call with {}", "Meeting with {}", "Conversation with {}"]
DRAFTS = ["Re: Quarterly budget review", "Proposal for the new intranet", "Thank you",
          "Out of office plan"]

# name, item type, default kind, item count, children
LAYOUT = [
    ("Inbox", "mail", 6, 90, [
        ("Projects", "mail", None, 15, [
            ("Website Relaunch", "mail", None, 25, []),
            ("Office Move", "mail", None, 18, []),
        ]),
        ("Clients", "mail", None, 10, [
            ("Harbor & Finch", "mail", None, 22, []),
            ("Northwind Traders", "mail", None, 20, []),
        ]),
        ("Receipts", "mail", None, 30, []),
        ("Newsletters", "mail", None, 35, []),
    ]),
    ("Sent Items", "mail", 5, 60, []),
    ("Deleted Items", "mail", 3, 25, []),
    ("Drafts", "mail", 16, 4, []),
    ("Calendar", "appointment", 9, 45, [
        ("Team Holidays", "appointment", None, 8, []),
    ]),
    ("Contacts", "contact", 10, 40, []),
    ("Tasks", "task", 13, 20, []),
    ("Notes", "note", 12, 12, []),
    ("Journal", "journal", 11, 10, []),
]


def item_for(rng, folder, item_type):
    """Subject, sender and size of one item of the folder."""
    sender = ""
    if item_type == "mail":
        if folder in TOPICS:
            subject = rng.choice(TOPICS[folder])
        elif folder == "Drafts":
            subject = rng.choice(DRAFTS)
        else:
            subject = rng.choice(TOPICS["general"])
        if subject.endswith("#"):
            subject += str(rng.randint(100000, 999999))
        if folder == "Sent Items":
            subject = rng.choice(["", "Re: ", "Fwd: "]) + subject
            sender = OWNER
        elif folder == "Newsletters":
            sender = rng.choice(NEWSLETTER_SENDERS)
        elif folder == "Drafts":
            sender = OWNER
        else:
            subject = rng.choice(["", "", "Re: ", "RE: ", "Fwd: "]) + subject
            sender = rng.choice(PEOPLE)
        size = rng.randint(3, 60) * 1024
        if rng.random() < 0.12:
            size += rng.randint(100, 4000) * 1024  # an attachment
    elif item_type == "appointment":
        subject = rng.choice(HOLIDAYS if folder == "Team Holidays" else MEETINGS)
        size = rng.randint(2, 12) * 1024
    elif item_type == "contact":
        subject = PEOPLE[rng.randrange(len(PEOPLE))] if rng.random() < 0.3 else (
            rng.choice(["Anna", "Ben", "Carla", "David", "Emma", "Felix", "Hana", "Ivan",
                        "Julia", "Kofi", "Lena", "Marco", "Nora", "Oscar", "Paula"]) + " " +
            rng.choice(["Fischer", "Garcia", "Hughes", "Ito", "Jensen", "Kowalski", "Moreau",
                        "Nakamura", "Patel", "Rossi", "Schmidt", "Turner"]))
        size = rng.randint(1, 8) * 1024
    elif item_type == "task":
        subject = rng.choice(TASKS)
        size = rng.randint(1, 6) * 1024
    elif item_type == "note":
        subject = rng.choice(NOTES)
        size = rng.randint(1, 3) * 1024
    else:
        subject = rng.choice(JOURNAL).format(rng.choice(PEOPLE))
        size = rng.randint(1, 4) * 1024
    return subject, sender, size


def add_folder(rng, parent, entry):
    name, item_type, kind, count, children = entry
    node = ET.SubElement(parent, "folder", name=name, type=item_type)
    if kind is not None:
        node.set("default", str(kind))
    for child in children:
        add_folder(rng, node, child)
    days = (END - START).days
    # Mostly in working hours, as mail arrives.
    dates = sorted((START.replace(hour=0) + datetime.timedelta(
        days=rng.randrange(days), seconds=rng.randrange(7 * 3600, 20 * 3600)) for _ in range(count)),
                   reverse=True)
    for when in dates:
        subject, sender, size = item_for(rng, name, item_type)
        item = ET.SubElement(node, "item", subject=subject, date=when.strftime("%Y-%m-%dT%H:%M:%S"))
        if sender:
            item.set("from", sender)
        item.set("size", str(size))


def main():
    out = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else (
        pathlib.Path(__file__).resolve().parent.parent / "resources" / "profiles" / "demo.xml")
    rng = random.Random(SEED)
    root = ET.Element("profile")
    store = ET.SubElement(root, "store", name=STORE)
    for entry in LAYOUT:
        add_folder(rng, store, entry)
    ET.indent(root, space="  ")
    out.parent.mkdir(parents=True, exist_ok=True)
    with open(out, "w", encoding="utf-8", newline="\n") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n')
        f.write(ET.tostring(root, encoding="unicode"))
        f.write("\n")


if __name__ == "__main__":
    main()
