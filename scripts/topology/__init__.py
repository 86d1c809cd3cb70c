"""Writes ravelo's topology files from the published figures of the force field.

rtf                   records of a topology file: reading, writing
parameters            equilibrium bond lengths and angles by atom type
geometry              placing and measuring atoms
internal_coordinates  terms that place every atom of a record
leading_terms         the table of terms that stand first in a record
completed             published records with all their terms filled in
derived               records for deposited DNA, RNA, water and ions
library_files         which record goes into which file, and the files' headers
"""
