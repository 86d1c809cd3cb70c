"""Writes ravelo's topology files from the published figures of the force field.

rtf                   records of a topology file: reading, writing
parameters            equilibrium bond lengths and angles by atom type
geometry              placing and measuring atoms
internal_coordinates  terms that place every atom of a record
leading_terms         the table of terms that stand first in a record
completed             published records with all their terms filled in
written_patches       patches of our own, written out
methylations          methylated lysines and arginines
phosphorylations      phosphorylated serine, threonine and tyrosine
removal_patches       patches for mutations, and patches that take others back
analogies             parameters that the published files lack, by analogy
derived               records for deposited DNA, RNA, water and ions
library_files         which record goes into which file, and the files' headers
"""
